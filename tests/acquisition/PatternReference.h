// The virtual cameras' test patterns, computed the plain way (pixel by pixel,
// bit by bit) from their documented formulas, to compare images against.
#ifndef ORVANE_TESTS_ACQUISITION_PATTERN_REFERENCE_H
#define ORVANE_TESTS_ACQUISITION_PATTERN_REFERENCE_H

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

namespace reference {

enum class Family { Mono, Bayer, Rgb, Yuv };
enum class Pack { None, Lsb, GigE };

struct Format {
    const char* name;
    uint32_t pfnc;
    Family family;
    unsigned bits;    // significant bits per component
    unsigned storage; // bits per pixel in memory
    Pack pack;
    const char*
        layout; // Bayer: the 2x2 pattern ("RGGB"); Rgb/Yuv: component order ("RGB", "BGRa", "YUYV", "UYVY", "UYV")
};

// Every pixel format the virtual camera offers.
inline const std::vector<Format>& Formats() {
    static const std::vector<Format> formats = {
        {"Mono8", 0x01080001, Family::Mono, 8, 8, Pack::None, ""},
        {"Mono10", 0x01100003, Family::Mono, 10, 16, Pack::None, ""},
        {"Mono10p", 0x010A0046, Family::Mono, 10, 10, Pack::Lsb, ""},
        {"Mono10Packed", 0x010C0004, Family::Mono, 10, 12, Pack::GigE, ""},
        {"Mono12", 0x01100005, Family::Mono, 12, 16, Pack::None, ""},
        {"Mono12p", 0x010C0047, Family::Mono, 12, 12, Pack::Lsb, ""},
        {"Mono12Packed", 0x010C0006, Family::Mono, 12, 12, Pack::GigE, ""},
        {"Mono14", 0x01100025, Family::Mono, 14, 16, Pack::None, ""},
        {"Mono16", 0x01100007, Family::Mono, 16, 16, Pack::None, ""},
        {"BayerGR8", 0x01080008, Family::Bayer, 8, 8, Pack::None, "GRBG"},
        {"BayerRG8", 0x01080009, Family::Bayer, 8, 8, Pack::None, "RGGB"},
        {"BayerGB8", 0x0108000A, Family::Bayer, 8, 8, Pack::None, "GBRG"},
        {"BayerBG8", 0x0108000B, Family::Bayer, 8, 8, Pack::None, "BGGR"},
        {"BayerGR10", 0x0110000C, Family::Bayer, 10, 16, Pack::None, "GRBG"},
        {"BayerRG10", 0x0110000D, Family::Bayer, 10, 16, Pack::None, "RGGB"},
        {"BayerGB10", 0x0110000E, Family::Bayer, 10, 16, Pack::None, "GBRG"},
        {"BayerBG10", 0x0110000F, Family::Bayer, 10, 16, Pack::None, "BGGR"},
        {"BayerGR10p", 0x010A0056, Family::Bayer, 10, 10, Pack::Lsb, "GRBG"},
        {"BayerRG10p", 0x010A0058, Family::Bayer, 10, 10, Pack::Lsb, "RGGB"},
        {"BayerGB10p", 0x010A0054, Family::Bayer, 10, 10, Pack::Lsb, "GBRG"},
        {"BayerBG10p", 0x010A0052, Family::Bayer, 10, 10, Pack::Lsb, "BGGR"},
        {"BayerGR10Packed", 0x010C0026, Family::Bayer, 10, 12, Pack::GigE, "GRBG"},
        {"BayerRG10Packed", 0x010C0027, Family::Bayer, 10, 12, Pack::GigE, "RGGB"},
        {"BayerGB10Packed", 0x010C0028, Family::Bayer, 10, 12, Pack::GigE, "GBRG"},
        {"BayerBG10Packed", 0x010C0029, Family::Bayer, 10, 12, Pack::GigE, "BGGR"},
        {"BayerGR12", 0x01100010, Family::Bayer, 12, 16, Pack::None, "GRBG"},
        {"BayerRG12", 0x01100011, Family::Bayer, 12, 16, Pack::None, "RGGB"},
        {"BayerGB12", 0x01100012, Family::Bayer, 12, 16, Pack::None, "GBRG"},
        {"BayerBG12", 0x01100013, Family::Bayer, 12, 16, Pack::None, "BGGR"},
        {"BayerGR12p", 0x010C0057, Family::Bayer, 12, 12, Pack::Lsb, "GRBG"},
        {"BayerRG12p", 0x010C0059, Family::Bayer, 12, 12, Pack::Lsb, "RGGB"},
        {"BayerGB12p", 0x010C0055, Family::Bayer, 12, 12, Pack::Lsb, "GBRG"},
        {"BayerBG12p", 0x010C0053, Family::Bayer, 12, 12, Pack::Lsb, "BGGR"},
        {"BayerGR12Packed", 0x010C002A, Family::Bayer, 12, 12, Pack::GigE, "GRBG"},
        {"BayerRG12Packed", 0x010C002B, Family::Bayer, 12, 12, Pack::GigE, "RGGB"},
        {"BayerGB12Packed", 0x010C002C, Family::Bayer, 12, 12, Pack::GigE, "GBRG"},
        {"BayerBG12Packed", 0x010C002D, Family::Bayer, 12, 12, Pack::GigE, "BGGR"},
        {"BayerGR16", 0x0110002E, Family::Bayer, 16, 16, Pack::None, "GRBG"},
        {"BayerRG16", 0x0110002F, Family::Bayer, 16, 16, Pack::None, "RGGB"},
        {"BayerGB16", 0x01100030, Family::Bayer, 16, 16, Pack::None, "GBRG"},
        {"BayerBG16", 0x01100031, Family::Bayer, 16, 16, Pack::None, "BGGR"},
        {"RGB8", 0x02180014, Family::Rgb, 8, 24, Pack::None, "RGB"},
        {"BGR8", 0x02180015, Family::Rgb, 8, 24, Pack::None, "BGR"},
        {"RGBa8", 0x02200016, Family::Rgb, 8, 32, Pack::None, "RGBa"},
        {"BGRa8", 0x02200017, Family::Rgb, 8, 32, Pack::None, "BGRa"},
        {"YUV422_8", 0x02100032, Family::Yuv, 8, 16, Pack::None, "YUYV"},
        {"YUV422_8_UYVY", 0x0210001F, Family::Yuv, 8, 16, Pack::None, "UYVY"},
        {"YCbCr422_8", 0x0210003B, Family::Yuv, 8, 16, Pack::None, "YUYV"},
        {"YUV8_UYV", 0x02180020, Family::Yuv, 8, 24, Pack::None, "UYV"},
    };
    return formats;
}

inline const Format* FindFormat(const std::string& name) {
    for (const Format& f : Formats())
        if (name == f.name) return &f;
    return nullptr;
}

// TestPattern entry values.
enum Pattern : int64_t {
    Off = 0,
    Black = 0x10,
    White = 0x11,
    GreyHorizontalRamp = 0x20,
    GreyVerticalRamp = 0x21,
    GreyDiagonalRamp = 0x22,
    GreyHorizontalRampMoving = 0x30,
    GreyVerticalRampMoving = 0x31,
    GreyDiagonalRampMoving = 0x32,
    ColorBar = 0x40,
    FrameCounter = 0x50,
    Increment = 0x60,
    SensorTestPattern = 0x70
};

inline const std::vector<std::pair<const char*, int64_t>>& Patterns() {
    static const std::vector<std::pair<const char*, int64_t>> patterns = {
        {"Off", Off},
        {"Black", Black},
        {"White", White},
        {"GreyHorizontalRamp", GreyHorizontalRamp},
        {"GreyVerticalRamp", GreyVerticalRamp},
        {"GreyDiagonalRamp", GreyDiagonalRamp},
        {"GreyHorizontalRampMoving", GreyHorizontalRampMoving},
        {"GreyVerticalRampMoving", GreyVerticalRampMoving},
        {"GreyDiagonalRampMoving", GreyDiagonalRampMoving},
        {"ColorBar", ColorBar},
        {"FrameCounter", FrameCounter},
        {"Increment", Increment},
        {"SensorTestPattern", SensorTestPattern}};
    return patterns;
}

struct Rgb {
    uint64_t r, g, b;
};

// The colour of pixel (x, y) of frame f: a grey value in all three components
// for the grey patterns.
inline Rgb PixelColour(int64_t pattern, unsigned bits, uint64_t W, uint64_t H, uint64_t offX, uint64_t offY, uint64_t f,
                       uint64_t x, uint64_t y) {
    const uint64_t M = (uint64_t(1) << bits) - 1;
    const uint64_t X = x + offX, Y = y + offY;
    const bool burn = pattern != Black && pattern != White && pattern != FrameCounter && pattern != Increment;
    const uint64_t i = y * W + x;
    if (burn && i < 64) {
        const uint64_t v = (f >> i) & 1 ? M : 0;
        return {v, v, v};
    }
    uint64_t v = 0;
    switch (pattern) {
    case Black: v = 0; break;
    case White: v = M; break;
    case GreyHorizontalRamp: v = x * M / (W - 1); break;
    case GreyVerticalRamp: v = y * M / (H - 1); break;
    case GreyDiagonalRamp: v = (x + y) * M / (W + H - 2); break;
    case GreyHorizontalRampMoving: v = ((x + f) % W) * M / (W - 1); break;
    case GreyVerticalRampMoving: v = ((y + f) % H) * M / (H - 1); break;
    case GreyDiagonalRampMoving: v = ((x + y + f) % (W + H - 1)) * M / (W + H - 2); break;
    case FrameCounter: v = f % (M + 1); break;
    case Increment: v = (f + y * W + x) % (M + 1); break;
    case SensorTestPattern: v = ((X / 64 + Y / 64) % 2) ? M : 0; break;
    case ColorBar: {
        static const int bars[8][3] = {{1, 1, 1}, {1, 1, 0}, {0, 1, 1}, {0, 1, 0},
                                       {1, 0, 1}, {1, 0, 0}, {0, 0, 1}, {0, 0, 0}};
        const int* c = bars[x * 8 / W];
        return {c[0] ? M : 0, c[1] ? M : 0, c[2] ? M : 0};
    }
    default: v = ((X + Y + f) % 256) << (bits - 8); break; // Off
    }
    return {v, v, v};
}

inline int Clamp(int v) { return v < 0 ? 0 : v > 255 ? 255 : v; }
inline int Luma(const Rgb& c) { return Clamp(int((77 * c.r + 150 * c.g + 29 * c.b + 128) >> 8)); }
inline int ChromaU(const Rgb& c) { return Clamp((-43 * int(c.r) - 85 * int(c.g) + 128 * int(c.b) + 32896) >> 8); }
inline int ChromaV(const Rgb& c) { return Clamp((128 * int(c.r) - 107 * int(c.g) - 21 * int(c.b) + 32896) >> 8); }

// The whole image, as the documentation says it is stored.
inline std::vector<uint8_t> Image(const Format& fmt, int64_t pattern, uint64_t W, uint64_t H, uint64_t offX,
                                  uint64_t offY, uint64_t f) {
    std::vector<uint8_t> out;
    auto colour = [&](uint64_t x, uint64_t y) { return PixelColour(pattern, fmt.bits, W, H, offX, offY, f, x, y); };
    if (fmt.family == Family::Rgb || fmt.family == Family::Yuv) {
        const std::string order = fmt.layout;
        for (uint64_t y = 0; y < H; ++y) {
            if (order == "YUYV" || order == "UYVY") {
                for (uint64_t x = 0; x < W; x += 2) {
                    const Rgb a = colour(x, y), b = colour(x + 1 < W ? x + 1 : x, y);
                    const uint8_t y0 = uint8_t(Luma(a)), y1 = uint8_t(Luma(b)), u = uint8_t(ChromaU(a)),
                                  v = uint8_t(ChromaV(a));
                    if (order == "YUYV")
                        out.insert(out.end(), {y0, u, y1, v});
                    else
                        out.insert(out.end(), {u, y0, v, y1});
                }
                continue;
            }
            for (uint64_t x = 0; x < W; ++x) {
                const Rgb c = colour(x, y);
                for (char k : order) {
                    switch (k) {
                    case 'R': out.push_back(uint8_t(c.r)); break;
                    case 'G': out.push_back(uint8_t(c.g)); break;
                    case 'B': out.push_back(uint8_t(c.b)); break;
                    case 'a': out.push_back(255); break;
                    case 'Y': out.push_back(uint8_t(Luma(c))); break;
                    case 'U': out.push_back(uint8_t(ChromaU(c))); break;
                    case 'V': out.push_back(uint8_t(ChromaV(c))); break;
                    default: break;
                    }
                }
            }
        }
        return out;
    }
    // Mono and Bayer: one value a pixel, then the storage.
    std::vector<uint64_t> values;
    for (uint64_t y = 0; y < H; ++y)
        for (uint64_t x = 0; x < W; ++x) {
            const Rgb c = colour(x, y);
            if (fmt.family == Family::Mono) {
                values.push_back((c.r + 2 * c.g + c.b) / 4);
            } else {
                const char k = fmt.layout[(y % 2) * 2 + (x % 2)];
                values.push_back(k == 'R' ? c.r : k == 'G' ? c.g : c.b);
            }
        }
    switch (fmt.pack) {
    case Pack::None:
        for (uint64_t v : values) {
            out.push_back(uint8_t(v));
            if (fmt.storage == 16) out.push_back(uint8_t(v >> 8));
        }
        break;
    case Pack::Lsb: {
        const uint64_t bits = values.size() * fmt.bits;
        out.assign((bits + 7) / 8, 0);
        for (size_t i = 0; i < values.size(); ++i)
            for (unsigned k = 0; k < fmt.bits; ++k)
                if ((values[i] >> k) & 1) {
                    const uint64_t bit = i * fmt.bits + k;
                    out[bit / 8] = uint8_t(out[bit / 8] | (1u << (bit % 8)));
                }
        break;
    }
    case Pack::GigE: {
        const unsigned low = fmt.bits - 8;
        for (size_t i = 0; i < values.size(); i += 2) {
            const uint64_t a = values[i];
            out.push_back(uint8_t(a >> low));
            if (i + 1 < values.size()) {
                const uint64_t b = values[i + 1];
                out.push_back(uint8_t((a & ((1u << low) - 1)) | ((b & ((1u << low) - 1)) << 4)));
                out.push_back(uint8_t(b >> low));
            } else {
                out.push_back(uint8_t(a & ((1u << low) - 1)));
            }
        }
        break;
    }
    }
    return out;
}

} // namespace reference

#endif
