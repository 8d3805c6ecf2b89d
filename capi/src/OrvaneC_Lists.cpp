// Interface and camera lists of the OrvaneC module. Element handles are new
// records on every Get, each holding its own reference to the SDK object.
#include "Orvane/CameraList.h"
#include "Orvane/ImageList.h"
#include "Orvane/InterfaceList.h"
#include "OrvaneCModule.h"

using namespace Orvane;

namespace {

template <class List>
List* AsList(void* handle) {
    return static_cast<List*>(asRecord(handle)->target);
}

template <class List>
orvError CreateEmpty(orvHandleType tag, void** out) {
    return OrvaneCFrame([&] {
        CheckNullParam(out);
        *out = BuildRecord(tag, [](orvObject* r) { r->target = new List(); });
        return ORV_OK;
    });
}

template <class List>
orvError Destroy(orvHandleType tag, void* handle) {
    return OrvaneCFrame([&] {
        CheckNullHandle(handle);
        checkObjectType(tag, handle);
        orvObject* record = asRecord(handle);
        if (record->target) delete AsList<List>(handle);
        destroyRecord(record);
        return ORV_OK;
    });
}

template <class List>
orvError GetSize(orvHandleType tag, void* handle, size_t* size) {
    return OrvaneCFrame([&] {
        CheckNullHandle(handle);
        CheckNullParam(size);
        checkObjectType(tag, handle);
        *size = AsList<List>(handle)->GetSize();
        return ORV_OK;
    });
}

// Builds an element handle: the record first, then the SDK smart pointer.
template <class List, class Ptr>
orvError GetElement(orvHandleType listTag, orvHandleType elementTag, void* handle, size_t index, void** out) {
    return OrvaneCFrame([&] {
        CheckNullHandle(handle);
        CheckNullParam(out);
        checkObjectType(listTag, handle);
        *out = BuildRecord(elementTag, [&](orvObject* r) {
            r->target = NewHeldPointer<Ptr>([&] { return AsList<List>(handle)->GetByIndex(index); });
        });
        return ORV_OK;
    });
}

template <class List>
orvError Clear(orvHandleType tag, void* handle) {
    return OrvaneCFrame([&] {
        CheckNullHandle(handle);
        checkObjectType(tag, handle);
        AsList<List>(handle)->Clear();
        return ORV_OK;
    });
}

} // namespace

orvError orvInterfaceListCreateEmpty(orvInterfaceList* list) {
    return CreateEmpty<InterfaceList>(ORV_HANDLE_INTERFACE_LIST, list);
}
orvError orvInterfaceListDestroy(orvInterfaceList list) {
    return Destroy<InterfaceList>(ORV_HANDLE_INTERFACE_LIST, list);
}
orvError orvInterfaceListGetSize(orvInterfaceList list, size_t* size) {
    return GetSize<InterfaceList>(ORV_HANDLE_INTERFACE_LIST, list, size);
}
orvError orvInterfaceListGet(orvInterfaceList list, size_t index, orvInterface* interfaceHandle) {
    return GetElement<InterfaceList, InterfacePtr>(ORV_HANDLE_INTERFACE_LIST, ORV_HANDLE_INTERFACE, list, index,
                                                   interfaceHandle);
}
orvError orvInterfaceListClear(orvInterfaceList list) { return Clear<InterfaceList>(ORV_HANDLE_INTERFACE_LIST, list); }

orvError orvCameraListCreateEmpty(orvCameraList* list) { return CreateEmpty<CameraList>(ORV_HANDLE_CAMERA_LIST, list); }
orvError orvCameraListDestroy(orvCameraList list) { return Destroy<CameraList>(ORV_HANDLE_CAMERA_LIST, list); }
orvError orvCameraListGetSize(orvCameraList list, size_t* size) {
    return GetSize<CameraList>(ORV_HANDLE_CAMERA_LIST, list, size);
}
orvError orvCameraListGet(orvCameraList list, size_t index, orvCamera* camera) {
    return GetElement<CameraList, CameraPtr>(ORV_HANDLE_CAMERA_LIST, ORV_HANDLE_CAMERA, list, index, camera);
}
orvError orvCameraListClear(orvCameraList list) { return Clear<CameraList>(ORV_HANDLE_CAMERA_LIST, list); }

orvError orvCameraListRemove(orvCameraList list, size_t index) {
    return OrvaneCFrame([&] {
        CheckNullHandle(list);
        checkObjectType(ORV_HANDLE_CAMERA_LIST, list);
        AsList<CameraList>(list)->RemoveByIndex(index);
        return ORV_OK;
    });
}

orvError orvCameraListAppend(orvCameraList list, orvCameraList other) {
    return OrvaneCFrame([&] {
        CheckNullHandle(list);
        CheckNullHandle(other);
        checkObjectType(ORV_HANDLE_CAMERA_LIST, list);
        checkObjectType(ORV_HANDLE_CAMERA_LIST, other);
        AsList<CameraList>(list)->Append(*AsList<CameraList>(other));
        return ORV_OK;
    });
}

orvError orvCameraListGetBySerial(orvCameraList list, const char* serial, orvCamera* camera) {
    return OrvaneCFrame([&] {
        CheckNullHandle(list);
        CheckNullParam(serial);
        checkObjectType(ORV_HANDLE_CAMERA_LIST, list);
        orvObject* record = BuildRecord(ORV_HANDLE_CAMERA, [&](orvObject* r) {
            r->target =
                NewHeldPointer<CameraPtr>([&] { return AsList<CameraList>(list)->GetBySerial(std::string(serial)); });
        });
        *camera = record;
        return ORV_OK;
    });
}

orvError orvCameraListRemoveBySerial(orvCameraList list, const char* serial) {
    return OrvaneCFrame([&] {
        CheckNullHandle(list);
        CheckNullParam(serial);
        checkObjectType(ORV_HANDLE_CAMERA_LIST, list);
        AsList<CameraList>(list)->RemoveBySerial(std::string(serial));
        return ORV_OK;
    });
}

// Image lists

orvError orvImageListCreateEmpty(orvImageList* list) { return CreateEmpty<ImageList>(ORV_HANDLE_IMAGE_LIST, list); }
orvError orvImageListDestroy(orvImageList list) { return Destroy<ImageList>(ORV_HANDLE_IMAGE_LIST, list); }
orvError orvImageListGetSize(orvImageList list, size_t* size) {
    return GetSize<ImageList>(ORV_HANDLE_IMAGE_LIST, list, size);
}
orvError orvImageListGet(orvImageList list, size_t index, orvImage* image) {
    return GetElement<ImageList, ImagePtr>(ORV_HANDLE_IMAGE_LIST, ORV_HANDLE_IMAGE, list, index, image);
}
orvError orvImageListClear(orvImageList list) { return Clear<ImageList>(ORV_HANDLE_IMAGE_LIST, list); }

orvError orvImageListRemove(orvImageList list, size_t index) {
    return OrvaneCFrame([&] {
        CheckNullHandle(list);
        checkObjectType(ORV_HANDLE_IMAGE_LIST, list);
        AsList<ImageList>(list)->RemoveByIndex(index);
        return ORV_OK;
    });
}

orvError orvImageListAppend(orvImageList list, orvImageList other) {
    return OrvaneCFrame([&] {
        CheckNullHandle(list);
        CheckNullHandle(other);
        checkObjectType(ORV_HANDLE_IMAGE_LIST, list);
        checkObjectType(ORV_HANDLE_IMAGE_LIST, other);
        AsList<ImageList>(list)->Append(*AsList<ImageList>(other));
        return ORV_OK;
    });
}

orvError orvImageListGetByPixelFormat(orvImageList list, orvPixelFormat pixelFormat, orvImage* image) {
    return OrvaneCFrame([&] {
        CheckNullHandle(list);
        checkObjectType(ORV_HANDLE_IMAGE_LIST, list);
        orvObject* record = BuildRecord(ORV_HANDLE_IMAGE, [&](orvObject* r) {
            r->target = NewHeldPointer<ImagePtr>(
                [&] { return AsList<ImageList>(list)->GetByPixelFormat(static_cast<PixelFormatEnums>(pixelFormat)); });
        });
        *image = record;
        return ORV_OK;
    });
}

orvError orvImageListRemoveByPixelFormat(orvImageList list, orvPixelFormat pixelFormat) {
    return OrvaneCFrame([&] {
        CheckNullHandle(list);
        checkObjectType(ORV_HANDLE_IMAGE_LIST, list);
        AsList<ImageList>(list)->RemoveByPixelFormat(static_cast<PixelFormatEnums>(pixelFormat));
        return ORV_OK;
    });
}

orvError orvImageListRelease(orvImageList list) {
    return OrvaneCFrame([&] {
        CheckNullHandle(list);
        checkObjectType(ORV_HANDLE_IMAGE_LIST, list);
        AsList<ImageList>(list)->Release();
        return ORV_OK;
    });
}

orvError orvImageListSave(orvImageList list, const char* fileName) {
    return OrvaneCFrame([&] {
        CheckNullHandle(list);
        checkObjectType(ORV_HANDLE_IMAGE_LIST, list);
        AsList<ImageList>(list)->Save(fileName); // the name reaches the SDK as given
        return ORV_OK;
    });
}

orvError orvImageListLoad(orvImageList* list, const char* fileName) {
    return OrvaneCFrame([&] {
        CheckNullParam(list);
        *list = BuildRecord(ORV_HANDLE_IMAGE_LIST, [&](orvObject* r) {
            ImageList* loaded = new ImageList();
            r->target = loaded;
            *loaded = ImageList::Load(fileName);
        });
        return ORV_OK;
    });
}
