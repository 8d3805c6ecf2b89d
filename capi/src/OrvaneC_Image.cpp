// Image functions of the OrvaneC module. Two image kinds: images retrieved
// from a camera (given back with orvImageRelease) and images the caller
// creates (freed with orvImageDestroy); all other functions accept both.
#include "Orvane/Image.h"
#include "OrvaneCModule.h"

using namespace Orvane;

namespace {

ImagePtr& ImageOf(void* handle) { return *static_cast<ImagePtr*>(asRecord(handle)->target); }

PixelFormatEnums Format(orvPixelFormat f) { return static_cast<PixelFormatEnums>(f); }

template <class Make>
orvError CreateImage(orvImage* out, Make&& make) {
    return OrvaneCFrame([&] {
        CheckNullParam(out);
        *out = BuildRecord(ORV_HANDLE_IMAGE_USER_CREATED,
                           [&](orvObject* r) { r->target = NewHeldPointer<ImagePtr>(make); });
        return ORV_OK;
    });
}

// The getter family: image null, out-pointer null, image type, then the value.
template <class Out, class Get>
orvError ImageGetter(orvImage image, Out* out, Get&& get) {
    return OrvaneCFrame([&] {
        CheckNullHandle(image);
        CheckNullParam(out);
        checkObjectType(ORV_HANDLE_IMAGE, image);
        const Out value = static_cast<Out>(get(*ImageOf(image)));
        *out = value;
        return ORV_OK;
    });
}

void FreeImageRecord(orvObject* record) {
    if (record->target) delete static_cast<ImagePtr*>(record->target);
    destroyRecord(record);
}

} // namespace

orvError orvImageCreateEmpty(orvImage* image) {
    return CreateImage(image, [] { return Image::Create(); });
}

orvError orvImageCreateEx(orvImage* image, size_t width, size_t height, size_t offsetX, size_t offsetY,
                          orvPixelFormat pixelFormat, void* data) {
    return CreateImage(image,
                       [&] { return Image::Create(width, height, offsetX, offsetY, Format(pixelFormat), data); });
}

orvError orvImageCreateEx2(orvImage* image, size_t width, size_t height, size_t offsetX, size_t offsetY,
                           orvPixelFormat pixelFormat, void* data, orvTLPayloadType payloadType, size_t dataSize) {
    return CreateImage(image, [&] {
        return Image::Create(width, height, offsetX, offsetY, Format(pixelFormat), data,
                             static_cast<TLPayloadType>(payloadType), dataSize);
    });
}

orvError orvImageCreate(orvImage source, orvImage* image) {
    return OrvaneCFrame([&] {
        CheckNullParam(image);
        CheckNullHandle(source);
        checkObjectType(ORV_HANDLE_IMAGE, source);
        *image = BuildRecord(ORV_HANDLE_IMAGE_USER_CREATED, [&](orvObject* r) {
            r->target = NewHeldPointer<ImagePtr>([&] { return Image::Create(ImageOf(source)); });
        });
        return ORV_OK;
    });
}

orvError orvImageDestroy(orvImage image) {
    return OrvaneCFrame([&] {
        CheckNullHandle(image);
        checkObjectType(ORV_HANDLE_IMAGE_USER_CREATED, image);
        FreeImageRecord(asRecord(image));
        return ORV_OK;
    });
}

orvError orvImageRelease(orvImage image) {
    return OrvaneCFrame([&] {
        CheckNullHandle(image);
        checkObjectType(ORV_HANDLE_IMAGE_FROM_CAMERA, image);
        ImageOf(image)->Release();
        FreeImageRecord(asRecord(image));
        return ORV_OK;
    });
}

orvError orvImageReset(orvImage image, size_t width, size_t height, size_t offsetX, size_t offsetY,
                       orvPixelFormat pixelFormat) {
    return OrvaneCFrame([&] {
        CheckNullHandle(image);
        checkObjectType(ORV_HANDLE_IMAGE_USER_CREATED, image);
        ImageOf(image)->Reset(width, height, offsetX, offsetY, Format(pixelFormat));
        return ORV_OK;
    });
}

orvError orvImageResetEx(orvImage image, size_t width, size_t height, size_t offsetX, size_t offsetY,
                         orvPixelFormat pixelFormat, void* data) {
    return OrvaneCFrame([&] {
        CheckNullHandle(image);
        checkObjectType(ORV_HANDLE_IMAGE_USER_CREATED, image);
        ImageOf(image)->Reset(width, height, offsetX, offsetY, Format(pixelFormat), data);
        return ORV_OK;
    });
}

orvError orvImageDeepCopy(orvImage source, orvImage destination) {
    return OrvaneCFrame([&] {
        CheckNullHandle(destination);
        CheckNullHandle(source);
        checkObjectType(ORV_HANDLE_IMAGE, source);
        checkObjectType(ORV_HANDLE_IMAGE, destination);
        ImageOf(destination)->DeepCopy(ImageOf(source));
        return ORV_OK;
    });
}

// Type is a type and function a name: neither can be parenthesised.
// NOLINTBEGIN(bugprone-macro-parentheses)
#define ORV_IMAGE_GETTER(function, Type, expression)                         \
    orvError function(orvImage image, Type* out) {                           \
        return ImageGetter(image, out, [](Image& i) { return expression; }); \
    }
// NOLINTEND(bugprone-macro-parentheses)

ORV_IMAGE_GETTER(orvImageGetColorProcessing, orvColorProcessingAlgorithm, i.GetColorProcessing())
ORV_IMAGE_GETTER(orvImageGetID, uint64_t, i.GetID())
ORV_IMAGE_GETTER(orvImageGetData, void*, i.GetData())
ORV_IMAGE_GETTER(orvImageGetPrivateData, void*, i.GetPrivateData())
ORV_IMAGE_GETTER(orvImageGetBufferSize, size_t, i.GetBufferSize())
ORV_IMAGE_GETTER(orvImageGetWidth, size_t, i.GetWidth())
ORV_IMAGE_GETTER(orvImageGetHeight, size_t, i.GetHeight())
ORV_IMAGE_GETTER(orvImageGetOffsetX, size_t, i.GetOffsetX())
ORV_IMAGE_GETTER(orvImageGetOffsetY, size_t, i.GetOffsetY())
ORV_IMAGE_GETTER(orvImageGetPaddingX, size_t, i.GetPaddingX())
ORV_IMAGE_GETTER(orvImageGetPaddingY, size_t, i.GetPaddingY())
ORV_IMAGE_GETTER(orvImageGetFrameID, uint64_t, i.GetFrameID())
ORV_IMAGE_GETTER(orvImageGetTimeStamp, uint64_t, i.GetTimeStamp())
ORV_IMAGE_GETTER(orvImageGetPayloadType, size_t, i.GetPayloadType())
ORV_IMAGE_GETTER(orvImageGetTLPayloadType, orvTLPayloadType, i.GetTLPayloadType())
ORV_IMAGE_GETTER(orvImageGetPixelFormat, orvPixelFormat, i.GetPixelFormat())
ORV_IMAGE_GETTER(orvImageGetTLPixelFormat, uint64_t, i.GetTLPixelFormat())
ORV_IMAGE_GETTER(orvImageGetTLPixelFormatNamespace, orvPixelFormatNamespace, i.GetTLPixelFormatNamespace())
ORV_IMAGE_GETTER(orvImageIsIncomplete, bool8_t, i.IsIncomplete() ? 1 : 0)
ORV_IMAGE_GETTER(orvImageGetStatus, orvImageStatus, i.GetStatus())
ORV_IMAGE_GETTER(orvImageGetValidPayloadSize, size_t, i.GetValidPayloadSize())
ORV_IMAGE_GETTER(orvImageGetChunkLayoutID, uint64_t, i.GetChunkLayoutID())
ORV_IMAGE_GETTER(orvImageHasCRC, bool8_t, i.HasCRC() ? 1 : 0)
ORV_IMAGE_GETTER(orvImageCheckCRC, bool8_t, i.CheckCRC() ? 1 : 0)
ORV_IMAGE_GETTER(orvImageGetBitsPerPixel, size_t, i.GetBitsPerPixel())
ORV_IMAGE_GETTER(orvImageGetSize, size_t, i.GetSize())
ORV_IMAGE_GETTER(orvImageGetStride, size_t, i.GetStride())

orvError orvImageGetPixelFormatName(orvImage image, char* buffer, size_t* length) {
    return OrvaneCFrame([&] {
        CheckNullHandle(image);
        CheckNullParam(buffer);
        CheckNullParam(length);
        checkObjectType(ORV_HANDLE_IMAGE, image);
        SetString(ImageOf(image)->GetPixelFormatName(), buffer, length);
        return ORV_OK;
    });
}

orvError orvImageGetStatusDescription(orvImageStatus status, char* buffer, size_t* length) {
    return OrvaneCFrame([&] {
        CheckNullParam(length);
        SetString(Image::GetImageStatusDescription(static_cast<ImageStatus>(status)), buffer, length);
        return ORV_OK;
    });
}
