#include "processing/Convert.h"

#include <algorithm>
#include <cstring>
#include <string>
#include <type_traits>
#include <vector>

#include "core/Raise.h"
#include "processing/ColorRows.h"
#include "processing/Demosaic.h"
#include "processing/Jpeg.h"
#include "processing/OpenCvRows.h"
#include "processing/ParallelRows.h"
#include "processing/RowUnpack.h"

namespace Orvane {
namespace internal {

namespace {

enum class SourceClass { Unsupported, Gray, Channel, Rgb, PlanarRgb, Yuv, Bayer, Jpeg };
enum class DestClass { Unsupported, Mono, Rgb, Yuv };

struct Destination {
    DestClass cls = DestClass::Unsupported;
    int depth = 8;
};

const PixelFormatInfo* Canonical(const PixelFormatInfo* f) {
    return f != nullptr && f->aliasOf != UNKNOWN_PIXELFORMAT ? FindPixelFormat(f->aliasOf) : f;
}

SourceClass ClassOf(const PixelFormatInfo& f) {
    if (f.family == PixelFamily::Compressed)
        return f.format == PixelFormat_JPEGMono8 || f.format == PixelFormat_JPEGColor8 ? SourceClass::Jpeg
                                                                                       : SourceClass::Unsupported;
    if (f.numeric != NumericType::Unsigned) return SourceClass::Unsupported;
    switch (f.family) {
    case PixelFamily::Mono:
    case PixelFamily::Raw:
    case PixelFamily::Polarized:
    case PixelFamily::BayerPolarized:
    case PixelFamily::Confidence: return CanUnpack(f) ? SourceClass::Gray : SourceClass::Unsupported;
    case PixelFamily::Coord3D: return f.components == 1 && CanUnpack(f) ? SourceClass::Gray : SourceClass::Unsupported;
    case PixelFamily::Channel: return CanUnpack(f) ? SourceClass::Channel : SourceClass::Unsupported;
    case PixelFamily::Bayer: return CanUnpack(f) ? SourceClass::Bayer : SourceClass::Unsupported;
    case PixelFamily::Rgb:
        if (f.planar) return f.packing == Packing::None ? SourceClass::PlanarRgb : SourceClass::Unsupported;
        return CanUnpack(f) ? SourceClass::Rgb : SourceClass::Unsupported;
    case PixelFamily::Yuv: return CanUnpack(f) ? SourceClass::Yuv : SourceClass::Unsupported;
    default: return SourceClass::Unsupported;
    }
}

Destination DestinationOf(const PixelFormatInfo& f) {
    switch (f.format) {
    case PixelFormat_Mono8: return {DestClass::Mono, 8};
    case PixelFormat_Mono10:
    case PixelFormat_Mono12:
    case PixelFormat_Mono14:
    case PixelFormat_Mono16:
    case PixelFormat_Mono10p:
    case PixelFormat_Mono12p:
    case PixelFormat_Mono10Packed:
    case PixelFormat_Mono12Packed: return {DestClass::Mono, 16};
    case PixelFormat_RGB8:
    case PixelFormat_BGR8:
    case PixelFormat_RGBa8:
    case PixelFormat_BGRa8: return {DestClass::Rgb, 8};
    case PixelFormat_RGB16:
    case PixelFormat_BGR16:
    case PixelFormat_RGBa16:
    case PixelFormat_BGRa16: return {DestClass::Rgb, 16};
    case PixelFormat_YUV422_8:
    case PixelFormat_YUV422_8_UYVY:
    case PixelFormat_YUV8_UYV:
    case PixelFormat_YCbCr8:
    case PixelFormat_YCbCr8_CbYCr:
    case PixelFormat_YCbCr422_8:
    case PixelFormat_YCbCr422_8_CbYCrY: return {DestClass::Yuv, 8};
    default: return {};
    }
}

RowKind KindOf(DestClass c) {
    return c == DestClass::Mono ? RowKind::Gray : c == DestClass::Rgb ? RowKind::Rgba : RowKind::Yuva;
}

[[noreturn]] void RaiseNotSupported(PixelFormatEnums from, PixelFormatEnums to) {
    ORV_RAISE(ORVANE_ERR_NOT_SUPPORTED,
              "Conversion from " + FormatName(from) + " to " + FormatName(to) + " is not supported");
}

// Start of row y (and of plane `plane`): the byte base and a bit offset from it.
struct RowRef {
    const uint8_t* base;
    size_t bit;
};

inline RowRef RowOf(const ImageLayout& l, const uint8_t* data, size_t y, size_t plane = 0) {
    const uint8_t* p = data + plane * l.planeBytes;
    if (l.explicitStride) return {p + y * (l.rowBits / 8), 0};
    return {p, l.RowBit(y)};
}

struct Job {
    const ImageView* src;
    ImageLayout sl;
    const MutableImageView* dst;
    ImageLayout dl;
    SourceClass sourceClass;
    Destination dest;
    ColorProcessingAlgorithm algorithm;
};

template <typename T>
class RowConverter {
public:
    explicit RowConverter(const Job& job)
        : job_(job), width_(job.sl.width),
          samples_(std::max<size_t>(SamplesPerRow(*job.sl.info, job.sl.width), 4 * job.sl.width)), a_(4 * width_),
          b_(4 * width_) {}

    // Source row y as a row of some kind, in a_.
    RowKind Decode(size_t y) {
        const PixelFormatInfo& s = *job_.sl.info;
        const RowKind wanted = KindOf(job_.dest.cls);
        const RowRef r = RowOf(job_.sl, job_.src->data, y);
        switch (job_.sourceClass) {
        case SourceClass::Gray: UnpackSamples(s, r.base, r.bit, width_, a_.data()); return RowKind::Gray;
        case SourceClass::Channel:
            if (wanted != RowKind::Rgba) {
                UnpackSamples(s, r.base, r.bit, width_, a_.data());
                return RowKind::Gray;
            }
            UnpackSamples(s, r.base, r.bit, width_, samples_.data());
            ChannelToRgba(s, samples_.data(), width_, a_.data());
            return RowKind::Rgba;
        case SourceClass::Rgb: {
            // Samples that fill containers of the working size are read in place.
            const T* samples = samples_.data();
            const uint8_t* row = r.base + r.bit / 8;
            if (s.packing == Packing::None && s.bitsPerComponent == 8 * sizeof(T) &&
                reinterpret_cast<uintptr_t>(row) % alignof(T) == 0)
                samples = reinterpret_cast<const T*>(row);
            else
                UnpackSamples(s, r.base, r.bit, SamplesPerRow(s, width_), samples_.data());
            if (wanted == RowKind::Gray) {
                RgbSamplesToGray(s, samples, width_, a_.data());
                return RowKind::Gray;
            }
            RgbSamplesToRgba(s, samples, width_, a_.data());
            return RowKind::Rgba;
        }
        case SourceClass::PlanarRgb: {
            for (size_t p = 0; p < 3; ++p) {
                const RowRef pr = RowOf(job_.sl, job_.src->data, y, p);
                UnpackSamples(s, pr.base, pr.bit, width_, samples_.data() + p * width_);
            }
            const T* plane = samples_.data();
            for (size_t i = 0; i < width_; ++i) {
                a_[4 * i] = plane[i];
                a_[4 * i + 1] = plane[width_ + i];
                a_[4 * i + 2] = plane[2 * width_ + i];
                a_[4 * i + 3] = static_cast<T>(Depth<T>::kMax);
            }
            return RowKind::Rgba;
        }
        case SourceClass::Yuv:
            UnpackSamples(s, r.base, r.bit, SamplesPerRow(s, width_), samples_.data());
            return YuvSamplesToRow(s, samples_.data(), width_, a_.data());
        default: return RowKind::Gray;
        }
    }

    // Writes a row of `kind` to destination row y.
    void Encode(size_t y, const T* row, RowKind kind) {
        const RowKind wanted = KindOf(job_.dest.cls);
        if (kind != wanted) {
            ConvertKind(kind, row, width_, wanted, b_.data());
            row = b_.data();
        }
        const PixelFormatInfo& d = *job_.dl.info;
        uint8_t* data = job_.dst->data;
        const RowRef r = RowOf(job_.dl, data, y);
        uint8_t* base = data + (r.base - data);
        switch (job_.dest.cls) {
        case DestClass::Mono: GrayToMonoRow(d, row, width_, base, r.bit); break;
        case DestClass::Rgb: RgbaToRgbRow(d, row, width_, base + r.bit / 8); break;
        case DestClass::Yuv:
            if constexpr (std::is_same<T, uint8_t>::value) YuvaToYuvRow(d, row, width_, base + r.bit / 8);
            break;
        default: break;
        }
    }

    void Rows(size_t first, size_t end) {
        for (size_t y = first; y < end; ++y) {
            const RowKind kind = Decode(y);
            Encode(y, a_.data(), kind);
        }
    }

    // Grey sources into Mono8 (8 bits) or Mono16 (16 bits): straight into the destination row.
    bool DirectGray() const {
        if (job_.sourceClass != SourceClass::Gray || job_.dest.cls != DestClass::Mono) return false;
        const PixelFormatInfo& d = *job_.dl.info;
        if (d.packing != Packing::None || d.bitsPerComponent != 8 * sizeof(T)) return false;
        if (!job_.dl.explicitStride && job_.dl.rowBits % (8 * sizeof(T)) != 0) return false;
        if (job_.dl.explicitStride && job_.dl.rowBits % (8 * sizeof(T)) != 0) return false;
        return reinterpret_cast<uintptr_t>(job_.dst->data) % alignof(T) == 0;
    }

    void DirectGrayRows(size_t first, size_t end) {
        for (size_t y = first; y < end; ++y) {
            const RowRef s = RowOf(job_.sl, job_.src->data, y);
            const RowRef d = RowOf(job_.dl, job_.dst->data, y);
            T* out = reinterpret_cast<T*>(job_.dst->data + (d.base - job_.dst->data) + d.bit / 8);
            UnpackSamples(*job_.sl.info, s.base, s.bit, width_, out);
        }
    }

    void BayerRows(size_t first, size_t end) {
        const PixelFormatInfo& s = *job_.sl.info;
        const size_t height = job_.sl.height;
        if constexpr (std::is_same<T, uint8_t>::value) {
            if (job_.algorithm == COLOR_PROCESSING_BILINEAR && job_.dest.cls == DestClass::Rgb) {
                const bool direct = s.packing == Packing::None && s.bitsPerComponent == 8;
                const bool streaming = job_.dl.bytes >= (size_t(8) << 20);
                std::vector<uint8_t> ring(direct ? 0 : 3 * width_);
                size_t cached[3] = {SIZE_MAX, SIZE_MAX, SIZE_MAX};
                auto row = [&](size_t y) -> const uint8_t* {
                    const RowRef r = RowOf(job_.sl, job_.src->data, y);
                    if (direct) return r.base + r.bit / 8;
                    uint8_t* slot = ring.data() + (y % 3) * width_;
                    if (cached[y % 3] != y) {
                        UnpackSamples(s, r.base, r.bit, width_, slot);
                        cached[y % 3] = y;
                    }
                    return slot;
                };
                for (size_t y = first; y < end; ++y) {
                    const uint8_t* up = row(Reflect101(static_cast<ptrdiff_t>(y) - 1, height));
                    const uint8_t* down = row(Reflect101(static_cast<ptrdiff_t>(y) + 1, height));
                    const uint8_t* mid = row(y);
                    const RowRef d = RowOf(job_.dl, job_.dst->data, y);
                    uint8_t* out = job_.dst->data + (d.base - job_.dst->data) + d.bit / 8;
                    BilinearRow8(s.cfa, y, up, mid, down, width_, job_.dl.info->order, out, streaming);
                }
                return;
            }
        }
        DemosaicRows<T>(
            job_.algorithm, s.cfa, width_, height, first, end,
            [&](size_t y, T* out) {
                const RowRef r = RowOf(job_.sl, job_.src->data, y);
                UnpackSamples(s, r.base, r.bit, width_, out);
            },
            [&](size_t y, const T* rgba) { Encode(y, rgba, RowKind::Rgba); });
    }

    void Run(size_t first, size_t end) {
        if (job_.sourceClass == SourceClass::Bayer)
            BayerRows(first, end);
        else if (DirectGray())
            DirectGrayRows(first, end);
        else
            Rows(first, end);
    }

private:
    const Job& job_;
    size_t width_;
    std::vector<T> samples_, a_, b_;
};

void CopyImage(const ImageView& src, const ImageLayout& sl, const MutableImageView& dst, const ImageLayout& dl) {
    if (!sl.explicitStride && !dl.explicitStride && sl.planeBytes == 0) {
        std::memcpy(dst.data, src.data, sl.bytes);
        return;
    }
    const size_t planes = sl.info->planar ? sl.info->components : 1;
    const size_t rowBits = sl.width * sl.info->bitsPerPixel / planes;
    for (size_t p = 0; p < planes; ++p)
        for (size_t y = 0; y < sl.height; ++y) {
            const RowRef s = RowOf(sl, src.data, y, p);
            const RowRef d = RowOf(dl, dst.data, y, p);
            CopyBits(dst.data + (d.base - dst.data), d.bit, s.base, s.bit, rowBits);
        }
}

bool Overlap(const ImageView& src, size_t srcBytes, const MutableImageView& dst, size_t dstBytes) {
    const uintptr_t s = reinterpret_cast<uintptr_t>(src.data), d = reinterpret_cast<uintptr_t>(dst.data);
    return s < d + dstBytes && d < s + srcBytes;
}

} // namespace

bool IsConversionSupported(PixelFormatEnums from, PixelFormatEnums to) {
    const PixelFormatInfo* s = Canonical(FindPixelFormat(from));
    const PixelFormatInfo* d = Canonical(FindPixelFormat(to));
    if (s == nullptr || d == nullptr) return false;
    if (s == d) return s->family != PixelFamily::Compressed;
    return ClassOf(*s) != SourceClass::Unsupported && DestinationOf(*d).cls != DestClass::Unsupported;
}

void Convert(const ImageView& src, const MutableImageView& dst, ColorProcessingAlgorithm algorithm, unsigned threads) {
    algorithm = ResolveAlgorithm(algorithm);
    const PixelFormatInfo* d = Canonical(FindPixelFormat(dst.format));
    if (d == nullptr)
        ORV_RAISE(ORVANE_ERR_INVALID_ARGUMENT,
                  "The destination has an unknown pixel format (" + std::to_string(static_cast<int>(dst.format)) + ")");
    if (src.jpeg) {
        if (DestinationOf(*d).cls == DestClass::Unsupported)
            RaiseNotSupported(src.format == PixelFormat_JPEGMono8 ? PixelFormat_JPEGMono8 : PixelFormat_JPEGColor8,
                              dst.format);
    } else {
        const PixelFormatInfo* s = Canonical(FindPixelFormat(src.format));
        if (s == nullptr)
            ORV_RAISE(ORVANE_ERR_INVALID_ARGUMENT,
                      "The source has an unknown pixel format (" + std::to_string(static_cast<int>(src.format)) + ")");
        if (!IsConversionSupported(src.format, dst.format)) RaiseNotSupported(src.format, dst.format);
    }
    const ImageLayout dl = CheckedLayout(dst.View(), "destination");
    const PixelFormatInfo* s = Canonical(FindPixelFormat(src.format));
    if (src.jpeg || (s != nullptr && ClassOf(*s) == SourceClass::Jpeg)) {
        const DecodedJpeg jpeg = DecodeJpeg(src.data, src.size);
        if (jpeg.header.width != dst.width || jpeg.header.height != dst.height)
            ORV_RAISE(ORVANE_ERR_INVALID_ARGUMENT, "The JPEG payload holds a " + std::to_string(jpeg.header.width) +
                                                       "x" + std::to_string(jpeg.header.height) +
                                                       " image; the destination is " + std::to_string(dst.width) + "x" +
                                                       std::to_string(dst.height));
        ImageView decoded;
        decoded.data = jpeg.pixels.data();
        decoded.size = jpeg.pixels.size();
        decoded.width = jpeg.header.width;
        decoded.height = jpeg.header.height;
        decoded.format = jpeg.header.gray ? PixelFormat_Mono8 : PixelFormat_RGB8;
        Convert(decoded, dst, algorithm, threads);
        return;
    }
    const ImageLayout sl = CheckedLayout(src, "source");
    if (sl.width != dl.width || sl.height != dl.height)
        ORV_RAISE(ORVANE_ERR_INVALID_ARGUMENT, "The destination is " + std::to_string(dl.width) + "x" +
                                                   std::to_string(dl.height) + "; the source is " +
                                                   std::to_string(sl.width) + "x" + std::to_string(sl.height));
    if (Overlap(src, sl.bytes, dst, dl.bytes))
        ORV_RAISE(ORVANE_ERR_INVALID_ARGUMENT, "The source and destination buffers overlap");
    if (sl.info == dl.info) {
        CopyImage(src, sl, dst, dl);
        return;
    }
    Job job{&src, sl, &dst, dl, ClassOf(*sl.info), DestinationOf(*dl.info), algorithm};
    // Rows of packed destinations that share bytes are written by one thread.
    const bool sharedBytes = !dl.explicitStride && dl.rowBits % 8 != 0;
    const bool small = sl.width * sl.height < 65536;
    const unsigned n = sharedBytes || small ? 1 : threads;
    const OpenCvRowKernel cv = FindOpenCvRowKernel(*sl.info, *dl.info);
    const bool aligned = reinterpret_cast<uintptr_t>(src.data) % 2 == 0 &&
                         reinterpret_cast<uintptr_t>(dst.data) % 2 == 0 && sl.rowBits % 16 == 0 && dl.rowBits % 16 == 0;
    if (cv && (!cv.Wide() || aligned)) {
        ParallelRows(sl.height, n, 16, 1, [&](unsigned, size_t first, size_t end) {
            for (size_t y = first; y < end; ++y) cv(src.data + sl.RowBit(y) / 8, dst.data + dl.RowBit(y) / 8, sl.width);
        });
        return;
    }
    ParallelRows(sl.height, n, 16, 2, [&](unsigned, size_t first, size_t end) {
        if (job.dest.depth == 8)
            RowConverter<uint8_t>(job).Run(first, end);
        else
            RowConverter<uint16_t>(job).Run(first, end);
    });
}

void CopyBits(uint8_t* dst, size_t dstBit, const uint8_t* src, size_t srcBit, size_t n) {
    if (dstBit % 8 == 0 && srcBit % 8 == 0) {
        std::memcpy(dst + dstBit / 8, src + srcBit / 8, n / 8);
        dstBit += n / 8 * 8;
        srcBit += n / 8 * 8;
        n %= 8;
    }
    for (size_t i = 0; i < n; ++i) {
        const size_t s = srcBit + i, d = dstBit + i;
        const unsigned bit = (src[s / 8] >> (s % 8)) & 1u;
        dst[d / 8] = static_cast<uint8_t>((dst[d / 8] & ~(1u << (d % 8))) | (bit << (d % 8)));
    }
}

} // namespace internal
} // namespace Orvane
