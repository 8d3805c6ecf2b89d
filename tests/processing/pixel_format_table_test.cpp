// The pixel format table: numbering, codes, sizes and lookups.
#include <arv.h>
#include <gtest/gtest.h>

#include <fstream>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "Orvane/PixelFormatEnums.h"
#include "image/PixelFormatInfo.h"

using namespace Orvane;
using namespace Orvane::internal;

namespace {

std::vector<std::string> NumberingFromEnumerations() {
    std::ifstream in(std::string(ORVANE_SOURCE_DIR) + "/data/quickorv/enumerations.txt");
    std::string line;
    while (std::getline(in, line)) {
        if (line.rfind("PixelFormat (", 0) == 0) { // "PixelFormat (<count>): <entries>"
            std::istringstream words(line.substr(line.find(':') + 1));
            std::vector<std::string> names;
            for (std::string w; words >> w;) names.push_back(w);
            return names;
        }
    }
    return {};
}

} // namespace

TEST(PixelFormatTable, NumberingFollowsTheQuickOrvEnumeration) {
    const std::vector<std::string> names = NumberingFromEnumerations();
    ASSERT_EQ(names.size(), 253u);
    ASSERT_EQ(static_cast<int>(NUM_PIXELFORMATS), 253);
    for (int i = 0; i < NUM_PIXELFORMATS; ++i) {
        const PixelFormatInfo* info = FindPixelFormat(static_cast<PixelFormatEnums>(i));
        ASSERT_NE(info, nullptr) << i;
        EXPECT_EQ(static_cast<int>(info->format), i);
        EXPECT_EQ(std::string(info->name), names[i]) << i;
    }
}

TEST(PixelFormatTable, EnumeratorsHaveTheirFixedValues) {
    EXPECT_EQ(PixelFormat_Mono8, 0);
    EXPECT_EQ(PixelFormat_Mono16, 1);
    EXPECT_EQ(PixelFormat_RGB8Packed, 2);
    EXPECT_EQ(PixelFormat_BayerRG8, 4);
    EXPECT_EQ(PixelFormat_Mono12Packed, 11);
    EXPECT_EQ(PixelFormat_Mono12p, 19);
    EXPECT_EQ(PixelFormat_BGR8, 27);
    EXPECT_EQ(PixelFormat_Mono10p, 34);
    EXPECT_EQ(PixelFormat_RGB8, 63);
    EXPECT_EQ(PixelFormat_YUV422_8_UYVY, 232);
    EXPECT_EQ(PixelFormat_GB12, 252);
    EXPECT_EQ(UNKNOWN_PIXELFORMAT, -1);
}

TEST(PixelFormatTable, CodesCarryTheBitsPerPixel) {
    for (int i = 0; i < NUM_PIXELFORMATS; ++i) {
        const PixelFormatInfo& f = *FindPixelFormat(static_cast<PixelFormatEnums>(i));
        EXPECT_EQ(ARV_PIXEL_FORMAT_BIT_PER_PIXEL(f.pfnc), f.bitsPerPixel) << f.name;
        EXPECT_EQ((f.pfnc & 0x80000000u) != 0, f.origin == FormatOrigin::Orvane) << f.name;
        // Bits 24-30: 0x01 for one component, 0x02 for several.
        EXPECT_EQ((f.pfnc >> 24) & 0x7F, f.components > 1 ? 0x02u : 0x01u) << f.name;
    }
}

TEST(PixelFormatTable, CodesAgreeWithAravis) {
    struct Expect {
        PixelFormatEnums format;
        uint32_t code;
    };
    const Expect expected[] = {
        {PixelFormat_Mono8, ARV_PIXEL_FORMAT_MONO_8},
        {PixelFormat_Mono8s, ARV_PIXEL_FORMAT_MONO_8_SIGNED},
        {PixelFormat_Mono10, ARV_PIXEL_FORMAT_MONO_10},
        {PixelFormat_Mono10Packed, ARV_PIXEL_FORMAT_MONO_10_PACKED},
        {PixelFormat_Mono12, ARV_PIXEL_FORMAT_MONO_12},
        {PixelFormat_Mono12Packed, ARV_PIXEL_FORMAT_MONO_12_PACKED},
        {PixelFormat_Mono14, ARV_PIXEL_FORMAT_MONO_14},
        {PixelFormat_Mono16, ARV_PIXEL_FORMAT_MONO_16},
        {PixelFormat_BayerGR8, ARV_PIXEL_FORMAT_BAYER_GR_8},
        {PixelFormat_BayerRG8, ARV_PIXEL_FORMAT_BAYER_RG_8},
        {PixelFormat_BayerGB8, ARV_PIXEL_FORMAT_BAYER_GB_8},
        {PixelFormat_BayerBG8, ARV_PIXEL_FORMAT_BAYER_BG_8},
        {PixelFormat_BayerGR10, ARV_PIXEL_FORMAT_BAYER_GR_10},
        {PixelFormat_BayerRG10, ARV_PIXEL_FORMAT_BAYER_RG_10},
        {PixelFormat_BayerGB10, ARV_PIXEL_FORMAT_BAYER_GB_10},
        {PixelFormat_BayerBG10, ARV_PIXEL_FORMAT_BAYER_BG_10},
        {PixelFormat_BayerGR12, ARV_PIXEL_FORMAT_BAYER_GR_12},
        {PixelFormat_BayerRG12, ARV_PIXEL_FORMAT_BAYER_RG_12},
        {PixelFormat_BayerGB12, ARV_PIXEL_FORMAT_BAYER_GB_12},
        {PixelFormat_BayerBG12, ARV_PIXEL_FORMAT_BAYER_BG_12},
        {PixelFormat_BayerGR16, ARV_PIXEL_FORMAT_BAYER_GR_16},
        {PixelFormat_BayerRG16, ARV_PIXEL_FORMAT_BAYER_RG_16},
        {PixelFormat_BayerGB16, ARV_PIXEL_FORMAT_BAYER_GB_16},
        {PixelFormat_BayerBG16, ARV_PIXEL_FORMAT_BAYER_BG_16},
        {PixelFormat_BayerGR10p, ARV_PIXEL_FORMAT_BAYER_GR_10P},
        {PixelFormat_BayerRG10p, ARV_PIXEL_FORMAT_BAYER_RG_10P},
        {PixelFormat_BayerGB10p, ARV_PIXEL_FORMAT_BAYER_GB_10P},
        {PixelFormat_BayerBG10p, ARV_PIXEL_FORMAT_BAYER_BG_10P},
        {PixelFormat_BayerGR12p, ARV_PIXEL_FORMAT_BAYER_GR_12P},
        {PixelFormat_BayerRG12p, ARV_PIXEL_FORMAT_BAYER_RG_12P},
        {PixelFormat_BayerGB12p, ARV_PIXEL_FORMAT_BAYER_GB_12P},
        {PixelFormat_BayerBG12p, ARV_PIXEL_FORMAT_BAYER_BG_12P},
        {PixelFormat_BayerGR10Packed, ARV_PIXEL_FORMAT_BAYER_GR_10_PACKED},
        {PixelFormat_BayerRG10Packed, ARV_PIXEL_FORMAT_BAYER_RG_10_PACKED},
        {PixelFormat_BayerGB10Packed, ARV_PIXEL_FORMAT_BAYER_GB_10_PACKED},
        {PixelFormat_BayerBG10Packed, ARV_PIXEL_FORMAT_BAYER_BG_10_PACKED},
        {PixelFormat_BayerGR12Packed, ARV_PIXEL_FORMAT_BAYER_GR_12_PACKED},
        {PixelFormat_BayerRG12Packed, ARV_PIXEL_FORMAT_BAYER_RG_12_PACKED},
        {PixelFormat_BayerGB12Packed, ARV_PIXEL_FORMAT_BAYER_GB_12_PACKED},
        {PixelFormat_BayerBG12Packed, ARV_PIXEL_FORMAT_BAYER_BG_12_PACKED},
        {PixelFormat_Coord3D_ABC8, ARV_PIXEL_FORMAT_COORD3D_ABC_8},
        {PixelFormat_Coord3D_ABC8_Planar, ARV_PIXEL_FORMAT_COORD3D_ABC_8_PLANAR},
        {PixelFormat_Coord3D_ABC10p, ARV_PIXEL_FORMAT_COORD3D_ABC_10P},
        {PixelFormat_Coord3D_ABC10p_Planar, ARV_PIXEL_FORMAT_COORD3D_ABC_10P_PLANAR},
        {PixelFormat_Coord3D_ABC12p, ARV_PIXEL_FORMAT_COORD3D_ABC_12P},
        {PixelFormat_Coord3D_ABC12p_Planar, ARV_PIXEL_FORMAT_COORD3D_ABC_12P_PLANAR},
        {PixelFormat_Coord3D_ABC16, ARV_PIXEL_FORMAT_COORD3D_ABC_16},
        {PixelFormat_Coord3D_ABC16_Planar, ARV_PIXEL_FORMAT_COORD3D_ABC_16_PLANAR},
        {PixelFormat_Coord3D_ABC32f, ARV_PIXEL_FORMAT_COORD3D_ABC_32F},
        {PixelFormat_Coord3D_ABC32f_Planar, ARV_PIXEL_FORMAT_COORD3D_ABC_32F_PLANAR},
        {PixelFormat_Coord3D_AC8, ARV_PIXEL_FORMAT_COORD3D_AC_8},
        {PixelFormat_Coord3D_AC8_Planar, ARV_PIXEL_FORMAT_COORD3D_AC_8_PLANAR},
        {PixelFormat_Coord3D_AC10p, ARV_PIXEL_FORMAT_COORD3D_AC_10P},
        {PixelFormat_Coord3D_AC10p_Planar, ARV_PIXEL_FORMAT_COORD3D_AC_10P_PLANAR},
        {PixelFormat_Coord3D_AC12p, ARV_PIXEL_FORMAT_COORD3D_AC_12P},
        {PixelFormat_Coord3D_AC12p_Planar, ARV_PIXEL_FORMAT_COORD3D_AC_12P_PLANAR},
        {PixelFormat_Coord3D_AC16, ARV_PIXEL_FORMAT_COORD3D_AC_16},
        {PixelFormat_Coord3D_AC16_Planar, ARV_PIXEL_FORMAT_COORD3D_AC_16_PLANAR},
        {PixelFormat_Coord3D_AC32f, ARV_PIXEL_FORMAT_COORD3D_AC_32F},
        {PixelFormat_Coord3D_AC32f_Planar, ARV_PIXEL_FORMAT_COORD3D_AC_32F_PLANAR},
        {PixelFormat_Coord3D_A8, ARV_PIXEL_FORMAT_COORD3D_A_8},
        {PixelFormat_Coord3D_A10p, ARV_PIXEL_FORMAT_COORD3D_A_10P},
        {PixelFormat_Coord3D_A12p, ARV_PIXEL_FORMAT_COORD3D_A_12P},
        {PixelFormat_Coord3D_A16, ARV_PIXEL_FORMAT_COORD3D_A_16},
        {PixelFormat_Coord3D_A32f, ARV_PIXEL_FORMAT_COORD3D_A_32F},
        {PixelFormat_Coord3D_B8, ARV_PIXEL_FORMAT_COORD3D_B_8},
        {PixelFormat_Coord3D_B10p, ARV_PIXEL_FORMAT_COORD3D_B_10P},
        {PixelFormat_Coord3D_B12p, ARV_PIXEL_FORMAT_COORD3D_B_12P},
        {PixelFormat_Coord3D_B16, ARV_PIXEL_FORMAT_COORD3D_B_16},
        {PixelFormat_Coord3D_B32f, ARV_PIXEL_FORMAT_COORD3D_B_32F},
        {PixelFormat_Coord3D_C8, ARV_PIXEL_FORMAT_COORD3D_C_8},
        {PixelFormat_Coord3D_C10p, ARV_PIXEL_FORMAT_COORD3D_C_10P},
        {PixelFormat_Coord3D_C12p, ARV_PIXEL_FORMAT_COORD3D_C_12P},
        {PixelFormat_Coord3D_C16, ARV_PIXEL_FORMAT_COORD3D_C_16},
        {PixelFormat_Coord3D_C32f, ARV_PIXEL_FORMAT_COORD3D_C_32F},
        {PixelFormat_RGB8Packed, ARV_PIXEL_FORMAT_RGB_8_PACKED},
        {PixelFormat_RGB8, ARV_PIXEL_FORMAT_RGB_8_PACKED},
        {PixelFormat_BGR8, ARV_PIXEL_FORMAT_BGR_8_PACKED},
        {PixelFormat_RGBa8, ARV_PIXEL_FORMAT_RGBA_8_PACKED},
        {PixelFormat_BGRa8, ARV_PIXEL_FORMAT_BGRA_8_PACKED},
        {PixelFormat_RGB10, ARV_PIXEL_FORMAT_RGB_10_PACKED},
        {PixelFormat_BGR10, ARV_PIXEL_FORMAT_BGR_10_PACKED},
        {PixelFormat_RGB12, ARV_PIXEL_FORMAT_RGB_12_PACKED},
        {PixelFormat_BGR12, ARV_PIXEL_FORMAT_BGR_12_PACKED},
        {PixelFormat_YUV411Packed, ARV_PIXEL_FORMAT_YUV_411_PACKED},
        {PixelFormat_YUV422Packed, ARV_PIXEL_FORMAT_YUV_422_PACKED},
        {PixelFormat_YUV444Packed, ARV_PIXEL_FORMAT_YUV_444_PACKED},
        {PixelFormat_RGB8_Planar, ARV_PIXEL_FORMAT_RGB_8_PLANAR},
        {PixelFormat_RGB10_Planar, ARV_PIXEL_FORMAT_RGB_10_PLANAR},
        {PixelFormat_RGB12_Planar, ARV_PIXEL_FORMAT_RGB_12_PLANAR},
        {PixelFormat_RGB16_Planar, ARV_PIXEL_FORMAT_RGB_16_PLANAR},
        {PixelFormat_YUV422_8, ARV_PIXEL_FORMAT_YUV_422_YUYV_PACKED},
    };
    for (const Expect& e : expected) {
        const PixelFormatInfo* f = FindPixelFormat(e.format);
        ASSERT_NE(f, nullptr);
        EXPECT_EQ(f->pfnc, e.code) << f->name;
    }
}

TEST(PixelFormatTable, KnownLayouts) {
    const PixelFormatInfo& m12p = *FindPixelFormat(PixelFormat_Mono12p);
    EXPECT_STREQ(m12p.name, "Mono12p");
    EXPECT_EQ(m12p.pfnc, 0x010C0047u);
    EXPECT_EQ(m12p.bitsPerPixel, 12);
    EXPECT_EQ(m12p.bitsPerComponent, 12);
    EXPECT_EQ(m12p.packing, Packing::Lsb);
    EXPECT_EQ(m12p.family, PixelFamily::Mono);

    const PixelFormatInfo& m10gev = *FindPixelFormat(PixelFormat_Mono10Packed);
    EXPECT_EQ(m10gev.bitsPerPixel, 12);
    EXPECT_EQ(m10gev.bitsPerComponent, 10);
    EXPECT_EQ(m10gev.packing, Packing::GigE);
    EXPECT_EQ(m10gev.origin, FormatOrigin::GigEVision);

    const PixelFormatInfo& gr12 = *FindPixelFormat(PixelFormat_BayerGR12Packed);
    EXPECT_EQ(gr12.family, PixelFamily::Bayer);
    EXPECT_EQ(gr12.cfa, CfaPattern::GR);
    EXPECT_EQ(gr12.packing, Packing::GigE);

    const PixelFormatInfo& bgra = *FindPixelFormat(PixelFormat_BGRa8);
    EXPECT_EQ(bgra.components, 4);
    EXPECT_EQ(bgra.order, ComponentOrder::BGRa);
    EXPECT_EQ(bgra.bitsPerPixel, 32);

    const PixelFormatInfo& rgb10p32 = *FindPixelFormat(PixelFormat_RGB10p32);
    EXPECT_EQ(rgb10p32.packing, Packing::Lsb32);
    EXPECT_EQ(rgb10p32.bitsPerPixel, 32);

    const PixelFormatInfo& uyvy709 = *FindPixelFormat(PixelFormat_YCbCr709_422_8_CbYCrY);
    EXPECT_EQ(uyvy709.family, PixelFamily::Yuv);
    EXPECT_EQ(uyvy709.order, ComponentOrder::UYVY);
    EXPECT_EQ(uyvy709.colorSpace, ColorSpace::YCbCr709);
    EXPECT_EQ(uyvy709.chromaSubsampling, 2);
    EXPECT_EQ(uyvy709.bitsPerPixel, 16);

    const PixelFormatInfo& ycc411 = *FindPixelFormat(PixelFormat_YCbCr411_8);
    EXPECT_EQ(ycc411.order, ComponentOrder::YYUYYV);
    EXPECT_EQ(ycc411.chromaSubsampling, 4);
    EXPECT_EQ(ycc411.bitsPerPixel, 12);

    const PixelFormatInfo& planar = *FindPixelFormat(PixelFormat_Coord3D_ABC12p_Planar);
    EXPECT_TRUE(planar.planar);
    EXPECT_EQ(planar.packing, Packing::Lsb);
    EXPECT_EQ(planar.components, 3);

    const PixelFormatInfo& f32 = *FindPixelFormat(PixelFormat_Mono32f);
    EXPECT_EQ(f32.numeric, NumericType::Float);
    EXPECT_EQ(f32.origin, FormatOrigin::Orvane);
    EXPECT_EQ(FindPixelFormat(PixelFormat_Mono8s)->numeric, NumericType::Signed);

    const PixelFormatInfo& jpeg = *FindPixelFormat(PixelFormat_JPEGColor8);
    EXPECT_EQ(jpeg.family, PixelFamily::Compressed);
    EXPECT_EQ(jpeg.codec, Codec::Jpeg);
}

TEST(PixelFormatTable, LookupByCodeReturnsTheCanonicalName) {
    EXPECT_EQ(FindPixelFormatByPfnc(0x02180014u)->format, PixelFormat_RGB8);
    EXPECT_EQ(FindPixelFormatByPfnc(0x0210001Fu)->format, PixelFormat_YUV422_8_UYVY);
    EXPECT_EQ(FindPixelFormatByPfnc(0x020C001Eu)->format, PixelFormat_YUV411_8_UYYVYY);
    EXPECT_EQ(FindPixelFormatByPfnc(0x02180020u)->format, PixelFormat_YUV8_UYV);
    EXPECT_EQ(FindPixelFormat(PixelFormat_RGB8Packed)->aliasOf, PixelFormat_RGB8);
    EXPECT_EQ(FindPixelFormat(PixelFormat_RGB8)->aliasOf, UNKNOWN_PIXELFORMAT);
    EXPECT_EQ(FindPixelFormatByPfnc(0x010C0006u)->format, PixelFormat_Mono12Packed);
    EXPECT_EQ(FindPixelFormatByPfnc(0x010A0046u)->format, PixelFormat_Mono10p);
    EXPECT_EQ(FindPixelFormatByPfnc(0x00000000u), nullptr);
    EXPECT_EQ(FindPixelFormatByPfnc(0x01080003u), nullptr);
    EXPECT_EQ(FindPixelFormatByPfnc(0xFFFFFFFFu), nullptr);
}

TEST(PixelFormatTable, EveryFormatIsFoundByItsNameAndCode) {
    std::set<uint32_t> codes;
    for (int i = 0; i < NUM_PIXELFORMATS; ++i) {
        const PixelFormatInfo* f = FindPixelFormat(static_cast<PixelFormatEnums>(i));
        EXPECT_EQ(FindPixelFormatByName(f->name), f);
        const PixelFormatInfo* byCode = FindPixelFormatByPfnc(f->pfnc);
        ASSERT_NE(byCode, nullptr) << f->name;
        if (f->aliasOf == UNKNOWN_PIXELFORMAT) {
            EXPECT_EQ(byCode, f) << f->name;
            EXPECT_TRUE(codes.insert(f->pfnc).second) << "duplicate code of " << f->name;
        } else {
            EXPECT_EQ(byCode->format, f->aliasOf) << f->name;
        }
    }
}

TEST(PixelFormatTable, UnknownValuesGiveNull) {
    EXPECT_EQ(FindPixelFormat(UNKNOWN_PIXELFORMAT), nullptr);
    EXPECT_EQ(FindPixelFormat(NUM_PIXELFORMATS), nullptr);
    EXPECT_EQ(FindPixelFormat(static_cast<PixelFormatEnums>(1000)), nullptr);
    EXPECT_EQ(FindPixelFormatByName(nullptr), nullptr);
    EXPECT_EQ(FindPixelFormatByName(""), nullptr);
    EXPECT_EQ(FindPixelFormatByName("mono8"), nullptr);
    EXPECT_EQ(FindPixelFormatByName("Mono8 "), nullptr);
    EXPECT_EQ(FindPixelFormatByName("PixelFormat_Mono8"), nullptr);
    EXPECT_EQ(FindPixelFormatByName("Mono8")->format, PixelFormat_Mono8);
    EXPECT_EQ(FindPixelFormatByName("YUV422_8_UYVY")->format, PixelFormat_YUV422_8_UYVY);
}

TEST(PixelFormatTable, PackedImageBytes) {
    EXPECT_EQ(PackedImageBytes(*FindPixelFormat(PixelFormat_Mono8), 640, 480), 307200u);
    EXPECT_EQ(PackedImageBytes(*FindPixelFormat(PixelFormat_Mono12p), 3, 1), 5u); // 36 bits
    EXPECT_EQ(PackedImageBytes(*FindPixelFormat(PixelFormat_Mono10p), 4, 3), 15u);
    EXPECT_EQ(PackedImageBytes(*FindPixelFormat(PixelFormat_Mono1p), 9, 1), 2u);
    EXPECT_EQ(PackedImageBytes(*FindPixelFormat(PixelFormat_RGBa32f), 2, 2), 64u);
    EXPECT_EQ(PackedImageBytes(*FindPixelFormat(PixelFormat_YCbCr411_8), 8, 2), 24u);
    EXPECT_EQ(PackedImageBytes(*FindPixelFormat(PixelFormat_Mono16), SIZE_MAX / 2, 3), SIZE_MAX);
}
