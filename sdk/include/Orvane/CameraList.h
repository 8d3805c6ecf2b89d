// Orvane::CameraList: a snapshot of cameras. The cameras themselves are shared:
// two lists (or two enumerations) hold the same object for the same device.
#ifndef ORVANE_CAMERA_LIST_H
#define ORVANE_CAMERA_LIST_H

#include <string>
#include <vector>

#include "Orvane/Camera.h"

namespace Orvane {

class ORVANE_API CameraList {
public:
    CameraList();
    virtual ~CameraList();
    CameraList(const CameraList&);
    CameraList& operator=(const CameraList&);

    size_t GetSize() const;
    // Raises ORVANE_ERR_OUT_OF_RANGE for an index at or beyond GetSize().
    CameraPtr GetByIndex(size_t index) const;
    CameraPtr operator[](size_t index) const { return GetByIndex(index); }
    // The camera with this serial number (or device id), or a null CameraPtr.
    CameraPtr GetBySerial(const std::string& serialNumber) const;
    CameraPtr GetByDeviceID(const std::string& deviceID) const;
    void Clear();
    // Raises ORVANE_ERR_OUT_OF_RANGE for a bad index.
    void RemoveByIndex(size_t index);
    // Raise ORVANE_ERR_INVALID_ID when no camera has this serial number /
    // device id.
    void RemoveBySerial(const std::string& serialNumber);
    void RemoveByDeviceID(const std::string& deviceID);
    void Append(const CameraList& other);
    void Add(const CameraPtr& camera);

private:
    std::vector<CameraPtr> m_items;
};

} // namespace Orvane

#endif
