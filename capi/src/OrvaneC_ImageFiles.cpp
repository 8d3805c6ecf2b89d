// Saving images to files (OrvaneC module). Option records are copied byte for
// byte into the SDK's records, whose layout they share.
#include <cstring>

#include "Orvane/Image.h"
#include "OrvaneCModule.h"

using namespace Orvane;

namespace {

ImagePtr& ImageOf(void* handle) { return *static_cast<ImagePtr*>(asRecord(handle)->target); }

orvError Save(orvImage image, const char* fileName, ImageFileFormat format) {
    return OrvaneCFrame([&] {
        CheckNullHandle(image);
        CheckNullParam(fileName);
        checkObjectType(ORV_HANDLE_IMAGE, image);
        ImageOf(image)->Save(fileName, format);
        return ORV_OK;
    });
}

template <class SdkOption, class COption>
orvError SaveWith(orvImage image, const char* fileName, const COption* option) {
    static_assert(sizeof(SdkOption) == sizeof(COption) && sizeof(COption) == 72, "option records are 72 bytes");
    return OrvaneCFrame([&] {
        CheckNullHandle(image);
        CheckNullParam(fileName);
        CheckNullParam(option);
        checkObjectType(ORV_HANDLE_IMAGE, image);
        SdkOption sdkOption;
        std::memcpy(static_cast<void*>(&sdkOption), option, sizeof sdkOption);
        ImageOf(image)->Save(fileName, sdkOption);
        return ORV_OK;
    });
}

} // namespace

orvError orvImageSave(orvImage image, const char* fileName, orvImageFileFormat format) {
    return Save(image, fileName, static_cast<ImageFileFormat>(format));
}

orvError orvImageSaveFromExt(orvImage image, const char* fileName) { return Save(image, fileName, FileFormat_FromExt); }

orvError orvImageSavePng(orvImage image, const char* fileName, const orvPNGOption* option) {
    return SaveWith<PNGOption>(image, fileName, option);
}
orvError orvImageSavePpm(orvImage image, const char* fileName, const orvPPMOption* option) {
    return SaveWith<PPMOption>(image, fileName, option);
}
orvError orvImageSavePgm(orvImage image, const char* fileName, const orvPGMOption* option) {
    return SaveWith<PGMOption>(image, fileName, option);
}
orvError orvImageSaveTiff(orvImage image, const char* fileName, const orvTIFFOption* option) {
    return SaveWith<TIFFOption>(image, fileName, option);
}
orvError orvImageSaveJpeg(orvImage image, const char* fileName, const orvJPEGOption* option) {
    return SaveWith<JPEGOption>(image, fileName, option);
}
orvError orvImageSaveJpg2(orvImage image, const char* fileName, const orvJPEG2000Option* option) {
    return SaveWith<JPEG2000Option>(image, fileName, option);
}
orvError orvImageSaveBmp(orvImage image, const char* fileName, const orvBMPOption* option) {
    return SaveWith<BMPOption>(image, fileName, option);
}
