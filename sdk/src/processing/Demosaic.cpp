#include "processing/Demosaic.h"

#include <algorithm>
#include <cstdlib>
#include <string>
#include <vector>

#include "core/Raise.h"
#include "processing/ColorRows.h"

namespace Orvane {
namespace internal {

ColorProcessingAlgorithm ResolveAlgorithm(ColorProcessingAlgorithm algorithm) {
    switch (algorithm) {
    case COLOR_PROCESSING_DEFAULT: return COLOR_PROCESSING_BILINEAR;
    case COLOR_PROCESSING_NONE:
    case COLOR_PROCESSING_NEAREST_NEIGHBOR:
    case COLOR_PROCESSING_BILINEAR:
    case COLOR_PROCESSING_EDGE_AWARE:
    case COLOR_PROCESSING_GRADIENT_CORRECTED:
    case COLOR_PROCESSING_DIRECTIONAL: return algorithm;
    }
    ORV_RAISE(ORVANE_ERR_INVALID_ARGUMENT,
              "Unknown colour processing algorithm " + std::to_string(static_cast<int>(algorithm)));
}

namespace {

enum Site { kRed, kGreenRedRow, kGreenBlueRow, kBlue };

struct Pattern {
    unsigned rx, ry; // position of red in the 2x2 cell at even coordinates
};

Pattern PatternOf(CfaPattern cfa) {
    switch (cfa) {
    case CfaPattern::GR: return {1, 0};
    case CfaPattern::GB: return {0, 1};
    case CfaPattern::BG: return {1, 1};
    default: return {0, 0};
    }
}

inline Site SiteAt(const Pattern& p, size_t x, size_t y) {
    const bool redColumn = (x & 1) == p.rx, redRow = (y & 1) == p.ry;
    if (redRow) return redColumn ? kRed : kGreenRedRow;
    return redColumn ? kGreenBlueRow : kBlue;
}

int PadOf(ColorProcessingAlgorithm a) {
    switch (a) {
    case COLOR_PROCESSING_NONE: return 0;
    case COLOR_PROCESSING_NEAREST_NEIGHBOR:
    case COLOR_PROCESSING_BILINEAR: return 1;
    case COLOR_PROCESSING_EDGE_AWARE:
    case COLOR_PROCESSING_GRADIENT_CORRECTED: return 2;
    default: return 5;
    }
}

// A padded band of mosaic rows: At(x, r) for x in [-pad, width + pad) and r
// in [-pad, rows + pad), r relative to the band's first row `y0`.
template <typename T>
struct Band {
    const T* origin;
    ptrdiff_t pitch;
    size_t y0;
    int At(ptrdiff_t x, ptrdiff_t r) const { return origin[r * pitch + x]; }
};

template <typename T>
inline T Clip(int v) {
    return static_cast<T>(v < 0 ? 0 : v > static_cast<int>(Depth<T>::kMax) ? Depth<T>::kMax : v);
}

template <typename T>
inline void Put(T* o, int r, int g, int b) {
    o[0] = Clip<T>(r);
    o[1] = Clip<T>(g);
    o[2] = Clip<T>(b);
    o[3] = static_cast<T>(Depth<T>::kMax);
}

template <typename T>
void RunNone(const Band<T>& m, size_t width, size_t rows, T* out) {
    for (size_t r = 0; r < rows; ++r)
        for (size_t x = 0; x < width; ++x, out += 4) {
            const int v = m.At(x, r);
            Put(out, v, v, v);
        }
}

template <typename T>
void RunNearest(const Band<T>& m, const Pattern& p, size_t width, size_t rows, T* out) {
    for (size_t r = 0; r < rows; ++r) {
        const size_t y = m.y0 + r;
        const ptrdiff_t cy = static_cast<ptrdiff_t>(y & ~size_t(1)) - static_cast<ptrdiff_t>(m.y0);
        const ptrdiff_t redRow = cy + p.ry, blueRow = cy + (1 - p.ry);
        const bool rowHasRed = (y & 1) == p.ry;
        for (size_t x = 0; x < width; ++x, out += 4) {
            const ptrdiff_t cx = static_cast<ptrdiff_t>(x & ~size_t(1));
            const int red = m.At(cx + p.rx, redRow);
            const int blue = m.At(cx + (1 - p.rx), blueRow);
            const int green = m.At(cx + (rowHasRed ? 1 - p.rx : p.rx), static_cast<ptrdiff_t>(r));
            Put(out, red, green, blue);
        }
    }
}

template <typename T>
void RunBilinear(const Band<T>& m, const Pattern& p, size_t width, size_t rows, T* out) {
    for (size_t r = 0; r < rows; ++r) {
        const ptrdiff_t y = static_cast<ptrdiff_t>(r);
        for (size_t ux = 0; ux < width; ++ux, out += 4) {
            const ptrdiff_t x = static_cast<ptrdiff_t>(ux);
            const int c = m.At(x, y);
            const int h2 = (m.At(x - 1, y) + m.At(x + 1, y) + 1) >> 1;
            const int v2 = (m.At(x, y - 1) + m.At(x, y + 1) + 1) >> 1;
            switch (SiteAt(p, ux, m.y0 + r)) {
            case kRed:
            case kBlue: {
                const int cross = (m.At(x - 1, y) + m.At(x + 1, y) + m.At(x, y - 1) + m.At(x, y + 1) + 2) >> 2;
                const int diag =
                    (m.At(x - 1, y - 1) + m.At(x + 1, y - 1) + m.At(x - 1, y + 1) + m.At(x + 1, y + 1) + 2) >> 2;
                if (SiteAt(p, ux, m.y0 + r) == kRed)
                    Put(out, c, cross, diag);
                else
                    Put(out, diag, cross, c);
                break;
            }
            case kGreenRedRow: Put(out, h2, c, v2); break;
            case kGreenBlueRow: Put(out, v2, c, h2); break;
            }
        }
    }
}

// Green at every pixel of rows [-margin, rows + margin) and columns
// [-margin, width + margin): the raw sample at green sites, else `interp`.
template <typename T, typename F>
std::vector<int> GreenPlane(const Band<T>& m, const Pattern& p, size_t width, size_t rows, int margin, F interp) {
    const size_t w = width + 2 * margin, h = rows + 2 * margin;
    std::vector<int> g(w * h);
    for (size_t j = 0; j < h; ++j) {
        const ptrdiff_t y = static_cast<ptrdiff_t>(j) - margin;
        const size_t absY = m.y0 + static_cast<size_t>(y + 8); // parity only (+8 keeps it positive)
        for (size_t i = 0; i < w; ++i) {
            const ptrdiff_t x = static_cast<ptrdiff_t>(i) - margin;
            const Site s = SiteAt(p, static_cast<size_t>(x + 8), absY);
            g[j * w + i] = (s == kGreenRedRow || s == kGreenBlueRow) ? m.At(x, y) : interp(x, y);
        }
    }
    return g;
}

// Red and blue from colour differences to a green plane `g` covering margin
// `gm` around the band; writes RGB (int) for rows [-margin, rows + margin).
template <typename T>
void ColourFromGreen(const Band<T>& m, const Pattern& p, size_t width, size_t rows, const std::vector<int>& g, int gm,
                     int margin, int* rgb) {
    const size_t gw = width + 2 * gm;
    auto G = [&](ptrdiff_t x, ptrdiff_t y) {
        return g[static_cast<size_t>(y + gm) * gw + static_cast<size_t>(x + gm)];
    };
    auto D = [&](ptrdiff_t x, ptrdiff_t y) { return m.At(x, y) - G(x, y); };
    const size_t w = width + 2 * margin;
    for (ptrdiff_t y = -margin; y < static_cast<ptrdiff_t>(rows) + margin; ++y) {
        const size_t absY = m.y0 + static_cast<size_t>(y + 8);
        for (ptrdiff_t x = -margin; x < static_cast<ptrdiff_t>(width) + margin; ++x) {
            int* o = rgb + 3 * (static_cast<size_t>(y + margin) * w + static_cast<size_t>(x + margin));
            const int gc = G(x, y), c = m.At(x, y);
            const int h2 = gc + ((D(x - 1, y) + D(x + 1, y) + 1) >> 1);
            const int v2 = gc + ((D(x, y - 1) + D(x, y + 1) + 1) >> 1);
            const int diag = gc + ((D(x - 1, y - 1) + D(x + 1, y - 1) + D(x - 1, y + 1) + D(x + 1, y + 1) + 2) >> 2);
            switch (SiteAt(p, static_cast<size_t>(x + 8), absY)) {
            case kRed: o[0] = c, o[1] = gc, o[2] = diag; break;
            case kBlue: o[0] = diag, o[1] = gc, o[2] = c; break;
            case kGreenRedRow: o[0] = h2, o[1] = gc, o[2] = v2; break;
            case kGreenBlueRow: o[0] = v2, o[1] = gc, o[2] = h2; break;
            }
        }
    }
}

template <typename T>
void RunEdgeAware(const Band<T>& m, const Pattern& p, size_t width, size_t rows, T* out) {
    auto interp = [&](ptrdiff_t x, ptrdiff_t y) {
        const int l = m.At(x - 1, y), r = m.At(x + 1, y), u = m.At(x, y - 1), d = m.At(x, y + 1);
        const int dh = std::abs(l - r), dv = std::abs(u - d);
        if (dh < dv) return (l + r + 1) >> 1;
        if (dv < dh) return (u + d + 1) >> 1;
        return (l + r + u + d + 2) >> 2;
    };
    const std::vector<int> g = GreenPlane(m, p, width, rows, 1, interp);
    std::vector<int> rgb(width * rows * 3);
    ColourFromGreen(m, p, width, rows, g, 1, 0, rgb.data());
    for (size_t i = 0; i < width * rows; ++i, out += 4) Put(out, rgb[3 * i], rgb[3 * i + 1], rgb[3 * i + 2]);
}

template <typename T>
void RunMalvar(const Band<T>& m, const Pattern& p, size_t width, size_t rows, T* out) {
    for (size_t r = 0; r < rows; ++r) {
        const ptrdiff_t y = static_cast<ptrdiff_t>(r);
        for (size_t ux = 0; ux < width; ++ux, out += 4) {
            const ptrdiff_t x = static_cast<ptrdiff_t>(ux);
            auto c = [&](int dx, int dy) { return m.At(x + dx, y + dy); };
            const int centre = c(0, 0);
            // Sums in sixteenths.
            const int greenAtRB = 8 * centre + 4 * (c(-1, 0) + c(1, 0) + c(0, -1) + c(0, 1)) -
                                  2 * (c(-2, 0) + c(2, 0) + c(0, -2) + c(0, 2));
            const int rowPair = 10 * centre + 8 * (c(-1, 0) + c(1, 0)) -
                                2 * (c(-1, -1) + c(1, -1) + c(-1, 1) + c(1, 1)) - 2 * (c(-2, 0) + c(2, 0)) +
                                (c(0, -2) + c(0, 2));
            const int columnPair = 10 * centre + 8 * (c(0, -1) + c(0, 1)) -
                                   2 * (c(-1, -1) + c(1, -1) + c(-1, 1) + c(1, 1)) - 2 * (c(0, -2) + c(0, 2)) +
                                   (c(-2, 0) + c(2, 0));
            const int diagonal = 12 * centre + 4 * (c(-1, -1) + c(1, -1) + c(-1, 1) + c(1, 1)) -
                                 3 * (c(-2, 0) + c(2, 0) + c(0, -2) + c(0, 2));
            auto div16 = [](int v) { return (v + 8) >> 4; };
            switch (SiteAt(p, ux, m.y0 + r)) {
            case kRed: Put(out, centre, div16(greenAtRB), div16(diagonal)); break;
            case kBlue: Put(out, div16(diagonal), div16(greenAtRB), centre); break;
            case kGreenRedRow: Put(out, div16(rowPair), centre, div16(columnPair)); break;
            case kGreenBlueRow: Put(out, div16(columnPair), centre, div16(rowPair)); break;
            }
        }
    }
}

template <typename T>
void RunDirectional(const Band<T>& m, const Pattern& p, size_t width, size_t rows, T* out) {
    const int maxValue = static_cast<int>(Depth<T>::kMax);
    auto clampTo = [&](int v, int a, int b) {
        const int lo = std::min(a, b), hi = std::max(a, b);
        return std::min(std::max(v, lo), hi);
    };
    // Hamilton-Adams green along one direction, clamped to its two neighbours.
    auto hor = [&](ptrdiff_t x, ptrdiff_t y) {
        const int l = m.At(x - 1, y), r = m.At(x + 1, y);
        const int v = (2 * (l + r) + 2 * m.At(x, y) - m.At(x - 2, y) - m.At(x + 2, y) + 2) >> 2;
        return clampTo(v, l, r);
    };
    auto ver = [&](ptrdiff_t x, ptrdiff_t y) {
        const int u = m.At(x, y - 1), d = m.At(x, y + 1);
        const int v = (2 * (u + d) + 2 * m.At(x, y) - m.At(x, y - 2) - m.At(x, y + 2) + 2) >> 2;
        return clampTo(v, u, d);
    };
    const int gm = 3, cm = 2; // margins of the green planes and the colour candidates
    const std::vector<int> gh = GreenPlane(m, p, width, rows, gm, hor);
    const std::vector<int> gv = GreenPlane(m, p, width, rows, gm, ver);
    const size_t cw = width + 2 * cm, ch = rows + 2 * cm;
    std::vector<int> rgbH(cw * ch * 3), rgbV(cw * ch * 3);
    ColourFromGreen(m, p, width, rows, gh, gm, cm, rgbH.data());
    ColourFromGreen(m, p, width, rows, gv, gm, cm, rgbV.data());
    for (int* v : {rgbH.data(), rgbV.data()})
        for (size_t i = 0; i < cw * ch * 3; ++i) v[i] = std::min(std::max(v[i], 0), maxValue);
    // Luminance and colour differences of both candidates.
    auto lum = [](const int* c) { return c[0] + 2 * c[1] + c[2]; };
    auto chromaDist = [](const int* a, const int* b) {
        const long long da = (a[0] - a[1]) - (b[0] - b[1]), db = (a[2] - a[1]) - (b[2] - b[1]);
        return da * da + db * db;
    };
    auto at = [&](const std::vector<int>& v, ptrdiff_t x, ptrdiff_t y) {
        return v.data() + 3 * (static_cast<size_t>(y + cm) * cw + static_cast<size_t>(x + cm));
    };
    // Homogeneity of each candidate at rows/columns [-1, n + 1).
    const size_t hw = width + 2, hh = rows + 2;
    std::vector<uint8_t> homH(hw * hh), homV(hw * hh);
    for (ptrdiff_t y = -1; y <= static_cast<ptrdiff_t>(rows); ++y) {
        for (ptrdiff_t x = -1; x <= static_cast<ptrdiff_t>(width); ++x) {
            const int* h = at(rgbH, x, y);
            const int* v = at(rgbV, x, y);
            const int lh = lum(h), lv = lum(v);
            const int epsL =
                std::min(std::max(std::abs(lh - lum(at(rgbH, x - 1, y))), std::abs(lh - lum(at(rgbH, x + 1, y)))),
                         std::max(std::abs(lv - lum(at(rgbV, x, y - 1))), std::abs(lv - lum(at(rgbV, x, y + 1)))));
            const long long epsC =
                std::min(std::max(chromaDist(h, at(rgbH, x - 1, y)), chromaDist(h, at(rgbH, x + 1, y))),
                         std::max(chromaDist(v, at(rgbV, x, y - 1)), chromaDist(v, at(rgbV, x, y + 1))));
            uint8_t countH = 0, countV = 0;
            const int nx[4] = {-1, 1, 0, 0}, ny[4] = {0, 0, -1, 1};
            for (int k = 0; k < 4; ++k) {
                const int* qh = at(rgbH, x + nx[k], y + ny[k]);
                const int* qv = at(rgbV, x + nx[k], y + ny[k]);
                if (std::abs(lh - lum(qh)) <= epsL && chromaDist(h, qh) <= epsC) ++countH;
                if (std::abs(lv - lum(qv)) <= epsL && chromaDist(v, qv) <= epsC) ++countV;
            }
            const size_t i = static_cast<size_t>(y + 1) * hw + static_cast<size_t>(x + 1);
            homH[i] = countH;
            homV[i] = countV;
        }
    }
    for (size_t r = 0; r < rows; ++r) {
        for (size_t x = 0; x < width; ++x, out += 4) {
            int sh = 0, sv = 0;
            for (size_t j = r; j < r + 3; ++j)
                for (size_t i = x; i < x + 3; ++i) {
                    sh += homH[j * hw + i];
                    sv += homV[j * hw + i];
                }
            const int* h = at(rgbH, static_cast<ptrdiff_t>(x), static_cast<ptrdiff_t>(r));
            const int* v = at(rgbV, static_cast<ptrdiff_t>(x), static_cast<ptrdiff_t>(r));
            if (sh > sv)
                Put(out, h[0], h[1], h[2]);
            else if (sv > sh)
                Put(out, v[0], v[1], v[2]);
            else
                Put(out, (h[0] + v[0] + 1) >> 1, (h[1] + v[1] + 1) >> 1, (h[2] + v[2] + 1) >> 1);
        }
    }
}

} // namespace

template <typename T>
void DemosaicRows(ColorProcessingAlgorithm algorithm, CfaPattern cfa, size_t width, size_t height, size_t first,
                  size_t end, const std::function<void(size_t, T*)>& readRow,
                  const std::function<void(size_t, const T*)>& writeRow) {
    algorithm = ResolveAlgorithm(algorithm);
    const Pattern pattern = PatternOf(cfa);
    const int pad = PadOf(algorithm);
    const size_t chunk = 32;
    const size_t pitch = width + 2 * pad;
    std::vector<T> band((chunk + 2 * pad) * pitch);
    std::vector<T> rgba(chunk * width * 4);
    for (size_t y0 = first; y0 < end; y0 += chunk) {
        const size_t rows = std::min(chunk, end - y0);
        for (size_t j = 0; j < rows + 2 * pad; ++j) {
            const ptrdiff_t y = static_cast<ptrdiff_t>(y0 + j) - pad;
            T* row = band.data() + j * pitch;
            readRow(Reflect101(y, height), row + pad);
            for (int k = 1; k <= pad; ++k) {
                row[pad - k] = row[pad + Reflect101(-k, width)];
                row[pad + width - 1 + k] = row[pad + Reflect101(static_cast<ptrdiff_t>(width - 1 + k), width)];
            }
        }
        const Band<T> m{band.data() + pad * pitch + pad, static_cast<ptrdiff_t>(pitch), y0};
        switch (algorithm) {
        case COLOR_PROCESSING_NONE: RunNone(m, width, rows, rgba.data()); break;
        case COLOR_PROCESSING_NEAREST_NEIGHBOR: RunNearest(m, pattern, width, rows, rgba.data()); break;
        case COLOR_PROCESSING_EDGE_AWARE: RunEdgeAware(m, pattern, width, rows, rgba.data()); break;
        case COLOR_PROCESSING_GRADIENT_CORRECTED: RunMalvar(m, pattern, width, rows, rgba.data()); break;
        case COLOR_PROCESSING_DIRECTIONAL: RunDirectional(m, pattern, width, rows, rgba.data()); break;
        default: RunBilinear(m, pattern, width, rows, rgba.data()); break;
        }
        for (size_t r = 0; r < rows; ++r) writeRow(y0 + r, rgba.data() + r * width * 4);
    }
}

template void DemosaicRows<uint8_t>(ColorProcessingAlgorithm, CfaPattern, size_t, size_t, size_t, size_t,
                                    const std::function<void(size_t, uint8_t*)>&,
                                    const std::function<void(size_t, const uint8_t*)>&);
template void DemosaicRows<uint16_t>(ColorProcessingAlgorithm, CfaPattern, size_t, size_t, size_t, size_t,
                                     const std::function<void(size_t, uint16_t*)>&,
                                     const std::function<void(size_t, const uint16_t*)>&);

} // namespace internal
} // namespace Orvane
