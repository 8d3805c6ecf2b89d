// Test patterns of the virtual cameras (formulas in TestPattern.h).
//
// A grey pattern's line is a slice of a per-frame value table (or one value
// repeated), so the common unpacked mono and Bayer formats fill each line
// with one copy from a table encoded once per frame; other formats encode
// each line from its values.
#include "virtual/TestPattern.h"

#include <algorithm>
#include <cstring>

#include "image/PixelFormatInfo.h"
#include "virtual/VirtualCameraRegisters.h"

namespace Orvane {
namespace internal {

namespace {

namespace tp = vcam::value::TestPattern;

constexpr uint32_t kBurnedBits = 64;

struct Format {
    PixelFamily family;
    Packing packing;
    ComponentOrder order;
    CfaPattern cfa;
    unsigned bits;    // significant bits per component
    unsigned storage; // bits per pixel in memory
    uint32_t max;     // M
};

bool Classify(uint32_t pfnc, Format& f) {
    const PixelFormatInfo* info = FindPixelFormatByPfnc(pfnc);
    if (!info || info->numeric != NumericType::Unsigned || info->planar) return false;
    f.family = info->family;
    f.packing = info->packing;
    f.order = info->order;
    f.cfa = info->cfa;
    f.bits = info->bitsPerComponent;
    f.storage = info->bitsPerPixel;
    if (f.bits < 8 || f.bits > 16) return false;
    f.max = (1u << f.bits) - 1;
    switch (f.family) {
    case PixelFamily::Mono:
    case PixelFamily::Bayer:
        return f.packing == Packing::None || f.packing == Packing::Lsb || f.packing == Packing::GigE;
    case PixelFamily::Rgb:
        return f.packing == Packing::None && f.bits == 8 &&
               (f.order == ComponentOrder::RGB || f.order == ComponentOrder::BGR || f.order == ComponentOrder::RGBa ||
                f.order == ComponentOrder::BGRa);
    case PixelFamily::Yuv:
        return f.packing == Packing::None && f.bits == 8 &&
               (f.order == ComponentOrder::YUYV || f.order == ComponentOrder::UYVY || f.order == ComponentOrder::UYV);
    default: return false;
    }
}

bool IsGreyPattern(int64_t pattern) { return pattern != tp::ColorBar; }

bool BurnsCounter(int64_t pattern) {
    return pattern != tp::Black && pattern != tp::White && pattern != tp::FrameCounter && pattern != tp::Increment;
}

int64_t Normalise(int64_t pattern) {
    switch (pattern) {
    case tp::Off:
    case tp::Black:
    case tp::White:
    case tp::GreyHorizontalRamp:
    case tp::GreyVerticalRamp:
    case tp::GreyDiagonalRamp:
    case tp::GreyHorizontalRampMoving:
    case tp::GreyVerticalRampMoving:
    case tp::GreyDiagonalRampMoving:
    case tp::ColorBar:
    case tp::FrameCounter:
    case tp::Increment:
    case tp::SensorTestPattern: return pattern;
    default: return tp::Off;
    }
}

// Component of the Bayer filter at (x, y): 0 red, 1 green, 2 blue.
int BayerComponent(CfaPattern cfa, uint32_t x, uint32_t y) {
    const int cell = static_cast<int>((y & 1) * 2 + (x & 1));
    static const int rg[4] = {0, 1, 1, 2}, gr[4] = {1, 0, 2, 1}, gb[4] = {1, 2, 0, 1}, bg[4] = {2, 1, 1, 0};
    switch (cfa) {
    case CfaPattern::RG: return rg[cell];
    case CfaPattern::GR: return gr[cell];
    case CfaPattern::GB: return gb[cell];
    case CfaPattern::BG: return bg[cell];
    default: return 1;
    }
}

uint8_t Clamp8(int v) { return static_cast<uint8_t>(v < 0 ? 0 : v > 255 ? 255 : v); }
uint8_t LumaOf(int r, int g, int b) { return Clamp8((77 * r + 150 * g + 29 * b + 128) >> 8); }
uint8_t UOf(int r, int g, int b) { return Clamp8((-43 * r - 85 * g + 128 * b + 32896) >> 8); }
uint8_t VOf(int r, int g, int b) { return Clamp8((128 * r - 107 * g - 21 * b + 32896) >> 8); }

// Writes pixels of a mono or Bayer image, in raster order, in its storage.
class PixelWriter {
public:
    PixelWriter(const Format& f, uint8_t* out) : m_f(f), m_out(out) {}

    void Put(uint32_t v) {
        switch (m_f.packing) {
        case Packing::None:
            if (m_f.storage == 8) {
                *m_out++ = static_cast<uint8_t>(v);
            } else {
                m_out[0] = static_cast<uint8_t>(v);
                m_out[1] = static_cast<uint8_t>(v >> 8);
                m_out += 2;
            }
            break;
        case Packing::Lsb:
            m_acc |= static_cast<uint64_t>(v) << m_accBits;
            m_accBits += m_f.bits;
            while (m_accBits >= 8) {
                *m_out++ = static_cast<uint8_t>(m_acc);
                m_acc >>= 8;
                m_accBits -= 8;
            }
            break;
        case Packing::GigE: {
            const unsigned low = m_f.bits - 8; // bits below the high byte (2 or 4)
            if (!m_havePending) {
                m_pending = v;
                m_havePending = true;
            } else {
                m_out[0] = static_cast<uint8_t>(m_pending >> low);
                m_out[1] = static_cast<uint8_t>((m_pending & ((1u << low) - 1)) | ((v & ((1u << low) - 1)) << 4));
                m_out[2] = static_cast<uint8_t>(v >> low);
                m_out += 3;
                m_havePending = false;
            }
            break;
        }
        default: break;
        }
    }

    // Writes what is left of an unfinished byte (or pixel pair).
    void Finish() {
        if (m_f.packing == Packing::Lsb && m_accBits > 0) *m_out++ = static_cast<uint8_t>(m_acc);
        if (m_f.packing == Packing::GigE && m_havePending) {
            const unsigned low = m_f.bits - 8;
            m_out[0] = static_cast<uint8_t>(m_pending >> low);
            m_out[1] = static_cast<uint8_t>(m_pending & ((1u << low) - 1));
            m_out += 2;
        }
    }

private:
    const Format& m_f;
    uint8_t* m_out;
    uint64_t m_acc = 0;
    unsigned m_accBits = 0;
    uint32_t m_pending = 0;
    bool m_havePending = false;
};

class Generator {
public:
    Generator(const PatternFrame& fr, const Format& f, PatternScratch& s) : m_fr(fr), m_f(f), m_s(s) {
        m_pattern = Normalise(fr.pattern);
        W = fr.width;
        H = fr.height;
        M = f.max;
        fid = fr.frameId;
    }

    void Run() {
        if (IsGreyPattern(m_pattern))
            Grey();
        else
            Colour();
    }

private:
    // --- grey patterns -----------------------------------------------------
    // Prepares m_s.table; returns false for patterns that are one value a line.
    bool BuildTable() {
        std::vector<uint16_t>& t = m_s.table;
        auto ramp = [&](uint64_t i, uint64_t span) { return static_cast<uint16_t>(span == 0 ? 0 : i * M / span); };
        switch (m_pattern) {
        case tp::Off:
            t.resize(256 + W);
            for (size_t i = 0; i < t.size(); ++i) t[i] = static_cast<uint16_t>((i & 0xFF) << (m_f.bits - 8));
            return true;
        case tp::GreyHorizontalRamp:
            t.resize(W);
            for (uint32_t i = 0; i < W; ++i) t[i] = ramp(i, W - 1);
            return true;
        case tp::GreyHorizontalRampMoving:
            t.resize(2 * size_t(W));
            for (size_t i = 0; i < t.size(); ++i) t[i] = ramp(i % W, W - 1);
            return true;
        case tp::GreyDiagonalRamp:
            t.resize(size_t(W) + H - 1);
            for (size_t i = 0; i < t.size(); ++i) t[i] = ramp(i, uint64_t(W) + H - 2);
            return true;
        case tp::GreyDiagonalRampMoving: {
            const size_t period = size_t(W) + H - 1;
            t.resize(period + W);
            for (size_t i = 0; i < t.size(); ++i) t[i] = ramp(i % period, uint64_t(W) + H - 2);
            return true;
        }
        case tp::Increment:
            t.resize(size_t(M) + 1 + W);
            for (size_t i = 0; i < t.size(); ++i) t[i] = static_cast<uint16_t>(i & M);
            return true;
        case tp::SensorTestPattern:
            t.resize(128 + size_t(W));
            for (size_t i = 0; i < t.size(); ++i) t[i] = static_cast<uint16_t>((i / 64) & 1 ? M : 0);
            return true;
        default: return false; // Black, White, FrameCounter, vertical ramps
        }
    }

    size_t Start(uint32_t y) const {
        const uint64_t X0 = m_fr.offsetX, Y = uint64_t(m_fr.offsetY) + y;
        switch (m_pattern) {
        case tp::Off: return static_cast<size_t>((X0 + Y + fid) & 0xFF);
        case tp::GreyHorizontalRamp: return 0;
        case tp::GreyHorizontalRampMoving: return static_cast<size_t>(fid % W);
        case tp::GreyDiagonalRamp: return y;
        case tp::GreyDiagonalRampMoving: return static_cast<size_t>((y + fid) % (uint64_t(W) + H - 1));
        case tp::Increment: return static_cast<size_t>((fid + uint64_t(y) * W) & M);
        case tp::SensorTestPattern: return static_cast<size_t>((X0 + ((Y / 64) & 1) * 64) % 128);
        default: return 0;
        }
    }

    uint16_t LineValue(uint32_t y) const {
        switch (m_pattern) {
        case tp::Black: return 0;
        case tp::White: return static_cast<uint16_t>(M);
        case tp::FrameCounter: return static_cast<uint16_t>(fid & M);
        case tp::GreyVerticalRamp: return static_cast<uint16_t>(H > 1 ? uint64_t(y) * M / (H - 1) : 0);
        case tp::GreyVerticalRampMoving: return static_cast<uint16_t>(H > 1 ? ((y + fid) % H) * M / (H - 1) : 0);
        default: return 0;
        }
    }

    // Lines holding burned-in pixels: [0, burnLines).
    uint32_t BurnLines() const {
        if (!BurnsCounter(m_pattern)) return 0;
        return std::min<uint32_t>(H, (kBurnedBits + W - 1) / W);
    }

    void Burn(uint16_t* line, uint32_t y) const {
        for (uint32_t x = 0; x < W; ++x) {
            const uint64_t i = uint64_t(y) * W + x;
            if (i >= kBurnedBits) break;
            line[x] = static_cast<uint16_t>((fid >> i) & 1 ? M : 0);
        }
    }

    // The values of line y (burn-in applied) into m_s.r.
    const uint16_t* GreyLine(uint32_t y, bool table) {
        std::vector<uint16_t>& line = m_s.r;
        line.resize(W);
        if (table)
            std::memcpy(line.data(), m_s.table.data() + Start(y), W * sizeof(uint16_t));
        else
            std::fill(line.begin(), line.end(), LineValue(y));
        if (y < BurnLines()) Burn(line.data(), y);
        return line.data();
    }

    void Grey() {
        const bool table = BuildTable();
        uint8_t* out = m_fr.data;
        const bool direct =
            (m_f.family == PixelFamily::Mono || m_f.family == PixelFamily::Bayer) && m_f.packing == Packing::None;
        if (direct) {
            // One container per pixel: lines are copies of the encoded table
            // (or fills of one value).
            const size_t bpp = m_f.storage / 8;
            const size_t lineBytes = size_t(W) * bpp;
            if (table) {
                std::vector<uint8_t>& e = m_s.encoded;
                e.resize(m_s.table.size() * bpp);
                if (bpp == 1)
                    for (size_t i = 0; i < m_s.table.size(); ++i) e[i] = static_cast<uint8_t>(m_s.table[i]);
                else
                    for (size_t i = 0; i < m_s.table.size(); ++i) {
                        e[2 * i] = static_cast<uint8_t>(m_s.table[i]);
                        e[2 * i + 1] = static_cast<uint8_t>(m_s.table[i] >> 8);
                    }
            }
            const uint32_t burn = BurnLines();
            for (uint32_t y = 0; y < H; ++y, out += lineBytes) {
                if (y < burn) {
                    PixelWriter w(m_f, out);
                    const uint16_t* v = GreyLine(y, table);
                    for (uint32_t x = 0; x < W; ++x) w.Put(v[x]);
                } else if (table) {
                    std::memcpy(out, m_s.encoded.data() + Start(y) * bpp, lineBytes);
                } else if (bpp == 1) {
                    std::memset(out, LineValue(y), lineBytes);
                } else {
                    const uint16_t v = LineValue(y);
                    for (uint32_t x = 0; x < W; ++x) {
                        out[2 * x] = static_cast<uint8_t>(v);
                        out[2 * x + 1] = static_cast<uint8_t>(v >> 8);
                    }
                }
            }
            return;
        }
        if (m_f.family == PixelFamily::Mono || m_f.family == PixelFamily::Bayer) {
            PixelWriter w(m_f, out);
            for (uint32_t y = 0; y < H; ++y) {
                const uint16_t* v = GreyLine(y, table);
                for (uint32_t x = 0; x < W; ++x) w.Put(v[x]);
            }
            w.Finish();
            return;
        }
        // Colour formats: grey as R = G = B = v.
        for (uint32_t y = 0; y < H; ++y) {
            const uint16_t* v = GreyLine(y, table);
            out = EncodeColourLine(out, v, v, v);
        }
    }

    // --- the colour pattern ------------------------------------------------
    void ColourLine(uint32_t y) {
        static const uint8_t bars[8][3] = {{1, 1, 1}, {1, 1, 0}, {0, 1, 1}, {0, 1, 0},
                                           {1, 0, 1}, {1, 0, 0}, {0, 0, 1}, {0, 0, 0}};
        m_s.r.resize(W);
        m_s.g.resize(W);
        m_s.b.resize(W);
        for (uint32_t x = 0; x < W; ++x) {
            const uint8_t* c = bars[uint64_t(x) * 8 / W];
            m_s.r[x] = static_cast<uint16_t>(c[0] ? M : 0);
            m_s.g[x] = static_cast<uint16_t>(c[1] ? M : 0);
            m_s.b[x] = static_cast<uint16_t>(c[2] ? M : 0);
        }
        if (y < BurnLines()) {
            Burn(m_s.r.data(), y);
            Burn(m_s.g.data(), y);
            Burn(m_s.b.data(), y);
        }
    }

    void Colour() {
        uint8_t* out = m_fr.data;
        if (m_f.family == PixelFamily::Mono || m_f.family == PixelFamily::Bayer) {
            PixelWriter w(m_f, out);
            for (uint32_t y = 0; y < H; ++y) {
                ColourLine(y);
                for (uint32_t x = 0; x < W; ++x) {
                    uint32_t v;
                    if (m_f.family == PixelFamily::Mono) {
                        v = (uint32_t(m_s.r[x]) + 2u * m_s.g[x] + m_s.b[x]) / 4;
                    } else {
                        const int c = BayerComponent(m_f.cfa, x, y);
                        v = c == 0 ? m_s.r[x] : c == 1 ? m_s.g[x] : m_s.b[x];
                    }
                    w.Put(v);
                }
            }
            w.Finish();
            return;
        }
        for (uint32_t y = 0; y < H; ++y) {
            ColourLine(y);
            out = EncodeColourLine(out, m_s.r.data(), m_s.g.data(), m_s.b.data());
        }
    }

    // 8-bit RGB and YUV formats.
    uint8_t* EncodeColourLine(uint8_t* out, const uint16_t* r, const uint16_t* g, const uint16_t* b) {
        switch (m_f.order) {
        case ComponentOrder::RGB:
            for (uint32_t x = 0; x < W; ++x, out += 3) {
                out[0] = static_cast<uint8_t>(r[x]);
                out[1] = static_cast<uint8_t>(g[x]);
                out[2] = static_cast<uint8_t>(b[x]);
            }
            break;
        case ComponentOrder::BGR:
            for (uint32_t x = 0; x < W; ++x, out += 3) {
                out[0] = static_cast<uint8_t>(b[x]);
                out[1] = static_cast<uint8_t>(g[x]);
                out[2] = static_cast<uint8_t>(r[x]);
            }
            break;
        case ComponentOrder::RGBa:
            for (uint32_t x = 0; x < W; ++x, out += 4) {
                out[0] = static_cast<uint8_t>(r[x]);
                out[1] = static_cast<uint8_t>(g[x]);
                out[2] = static_cast<uint8_t>(b[x]);
                out[3] = 255;
            }
            break;
        case ComponentOrder::BGRa:
            for (uint32_t x = 0; x < W; ++x, out += 4) {
                out[0] = static_cast<uint8_t>(b[x]);
                out[1] = static_cast<uint8_t>(g[x]);
                out[2] = static_cast<uint8_t>(r[x]);
                out[3] = 255;
            }
            break;
        case ComponentOrder::UYV:
            for (uint32_t x = 0; x < W; ++x, out += 3) {
                out[0] = UOf(r[x], g[x], b[x]);
                out[1] = LumaOf(r[x], g[x], b[x]);
                out[2] = VOf(r[x], g[x], b[x]);
            }
            break;
        case ComponentOrder::YUYV:
        case ComponentOrder::UYVY: {
            const bool yFirst = m_f.order == ComponentOrder::YUYV;
            for (uint32_t x = 0; x < W; x += 2, out += 4) {
                const uint32_t x1 = x + 1 < W ? x + 1 : x;
                const uint8_t y0 = LumaOf(r[x], g[x], b[x]), y1 = LumaOf(r[x1], g[x1], b[x1]);
                const uint8_t u = UOf(r[x], g[x], b[x]), v = VOf(r[x], g[x], b[x]);
                if (yFirst) {
                    out[0] = y0;
                    out[1] = u;
                    out[2] = y1;
                    out[3] = v;
                } else {
                    out[0] = u;
                    out[1] = y0;
                    out[2] = v;
                    out[3] = y1;
                }
            }
            break;
        }
        default: break;
        }
        return out;
    }

    const PatternFrame& m_fr;
    const Format& m_f;
    PatternScratch& m_s;
    int64_t m_pattern;
    uint32_t W, H, M;
    uint64_t fid;
};

} // namespace

size_t PatternImageBytes(uint32_t pixelFormat, uint32_t width, uint32_t height) {
    Format f;
    if (!Classify(pixelFormat, f)) return 0;
    if (f.family == PixelFamily::Yuv && f.order != ComponentOrder::UYV) return (size_t(width) + 1) / 2 * 4 * height;
    const uint64_t bits = uint64_t(width) * height * f.storage;
    return static_cast<size_t>((bits + 7) / 8);
}

size_t FillTestPattern(const PatternFrame& frame, PatternScratch& scratch) {
    Format f;
    if (!frame.data || frame.width == 0 || frame.height == 0 || !Classify(frame.pixelFormat, f)) return 0;
    const size_t bytes = PatternImageBytes(frame.pixelFormat, frame.width, frame.height);
    if (bytes == 0 || bytes > frame.capacity) return 0;
    Generator(frame, f, scratch).Run();
    return bytes;
}

} // namespace internal
} // namespace Orvane
