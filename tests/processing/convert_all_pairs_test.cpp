// Every source format of the table against every destination, on random data
// of awkward sizes: each call converts or raises a documented error, and never
// reads or writes outside its buffers (checked under AddressSanitizer).
#include <gtest/gtest.h>

#include <set>

#include "ProcessingTestUtil.h"
#include "image/PixelFormatInfo.h"
#include "processing/Gamma.h"
#include "processing/Statistics.h"

using namespace Orvane;
using namespace Orvane::internal;
using namespace orvtest;

TEST(ConvertAllPairs, ConvertOrRaiseADocumentedError) {
    const PixelFormatEnums destinations[] = {PixelFormat_Mono8,         PixelFormat_Mono10,
                                             PixelFormat_Mono12,        PixelFormat_Mono14,
                                             PixelFormat_Mono16,        PixelFormat_Mono10p,
                                             PixelFormat_Mono12p,       PixelFormat_Mono10Packed,
                                             PixelFormat_Mono12Packed,  PixelFormat_RGB8,
                                             PixelFormat_BGR8,          PixelFormat_RGBa8,
                                             PixelFormat_BGRa8,         PixelFormat_RGB16,
                                             PixelFormat_BGR16,         PixelFormat_RGBa16,
                                             PixelFormat_BGRa16,        PixelFormat_YUV422_8,
                                             PixelFormat_YUV422_8_UYVY, PixelFormat_YUV8_UYV,
                                             PixelFormat_YCbCr8,        PixelFormat_YCbCr422_8_CbYCrY,
                                             PixelFormat_BayerRG8,      PixelFormat_Coord3D_C16};
    const std::set<int> documented = {ORVANE_ERR_NOT_SUPPORTED, ORVANE_ERR_INVALID_ARGUMENT, ORVANE_ERR_CORRUPT_DATA};
    size_t converted = 0;
    for (int f = 0; f < NUM_PIXELFORMATS; ++f) {
        const PixelFormatInfo& s = *FindPixelFormat(static_cast<PixelFormatEnums>(f));
        for (const size_t w : {4u, 7u, 12u}) {
            const size_t h = 3;
            for (const bool padded : {false, true}) {
                const size_t rowBytes = (w * s.bitsPerPixel + 7) / 8;
                const size_t stride = padded ? rowBytes + 3 : 0;
                const size_t planes = s.planar ? s.components : 1;
                const size_t bytes = padded ? stride * h * planes : PackedImageBytes(s, w, h);
                const Bytes src = Random(bytes, static_cast<unsigned>(f * 131 + w));
                for (PixelFormatEnums d : destinations) {
                    const PixelFormatInfo& di = *FindPixelFormat(d);
                    Bytes out(PackedImageBytes(di, w, h) + 1, 0);
                    try {
                        Convert(View(src, w, h, s.format, stride), Out(out, w, h, d), COLOR_PROCESSING_DIRECTIONAL, 2);
                        ++converted;
                        EXPECT_TRUE(IsConversionSupported(s.format, d)) << s.name << " -> " << di.name;
                    } catch (const Orvane::Exception& e) {
                        EXPECT_EQ(documented.count(e.GetError()), 1u)
                            << s.name << " -> " << di.name << ": " << e.GetErrorMessage();
                        if (e.GetError() == ORVANE_ERR_NOT_SUPPORTED) {
                            EXPECT_FALSE(IsConversionSupported(s.format, d)) << s.name << " -> " << di.name;
                        }
                    }
                    EXPECT_EQ(out.back(), 0) << s.name << " -> " << di.name << " wrote past its image";
                }
                // Statistics and gamma take the same inputs.
                try {
                    ComputeStatistics(View(src, w, h, s.format, stride), 0x7F, COLOR_PROCESSING_DEFAULT, 2);
                } catch (const Orvane::Exception& e) {
                    EXPECT_EQ(documented.count(e.GetError()), 1u) << s.name << ": " << e.GetErrorMessage();
                }
                Bytes same(bytes + 1, 0);
                try {
                    ApplyGamma(View(src, w, h, s.format, stride), Out(same, w, h, s.format, stride), 0.8f, true, 2);
                } catch (const Orvane::Exception& e) {
                    EXPECT_EQ(documented.count(e.GetError()), 1u) << s.name << ": " << e.GetErrorMessage();
                }
                EXPECT_EQ(same.back(), 0) << s.name << " gamma wrote past its image";
            }
        }
    }
    EXPECT_GT(converted, 2000u);
}
