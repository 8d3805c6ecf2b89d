// InterfaceList and CameraList.
#include <algorithm>

#include "Orvane/CameraList.h"
#include "Orvane/InterfaceList.h"
#include "core/Raise.h"

namespace Orvane {

namespace {
[[noreturn]] void BadIndex(const char* list, size_t index, size_t size) {
    ORV_RAISE(ORVANE_ERR_OUT_OF_RANGE, std::string(list) + ": index " + std::to_string(index) +
                                           " is out of range, the list has " + std::to_string(size) + " entries");
}
} // namespace

InterfaceList::InterfaceList() = default;
InterfaceList::~InterfaceList() = default;
InterfaceList::InterfaceList(const InterfaceList&) = default;
InterfaceList& InterfaceList::operator=(const InterfaceList&) = default;
size_t InterfaceList::GetSize() const { return m_items.size(); }
InterfacePtr InterfaceList::GetByIndex(size_t index) const {
    if (index >= m_items.size()) BadIndex("InterfaceList", index, m_items.size());
    return m_items[index];
}
void InterfaceList::Clear() { m_items.clear(); }
void InterfaceList::Append(const InterfacePtr& item) { m_items.push_back(item); }

CameraList::CameraList() = default;
CameraList::~CameraList() = default;
CameraList::CameraList(const CameraList&) = default;
CameraList& CameraList::operator=(const CameraList&) = default;
size_t CameraList::GetSize() const { return m_items.size(); }

CameraPtr CameraList::GetByIndex(size_t index) const {
    if (index >= m_items.size()) BadIndex("CameraList", index, m_items.size());
    return m_items[index];
}

CameraPtr CameraList::GetBySerial(const std::string& serialNumber) const {
    for (const CameraPtr& c : m_items)
        if (c->GetSerialNumber() == serialNumber.c_str()) return c;
    return CameraPtr();
}

CameraPtr CameraList::GetByDeviceID(const std::string& deviceID) const {
    for (const CameraPtr& c : m_items)
        if (c->GetDeviceID() == deviceID.c_str()) return c;
    return CameraPtr();
}

void CameraList::Clear() { m_items.clear(); }

void CameraList::RemoveByIndex(size_t index) {
    if (index >= m_items.size()) BadIndex("CameraList", index, m_items.size());
    m_items.erase(m_items.begin() + index);
}

void CameraList::RemoveBySerial(const std::string& serialNumber) {
    auto it = std::find_if(m_items.begin(), m_items.end(),
                           [&](const CameraPtr& c) { return c->GetSerialNumber() == serialNumber.c_str(); });
    if (it == m_items.end())
        ORV_RAISE(ORVANE_ERR_INVALID_ID, "CameraList: no camera has the serial number '" + serialNumber + "'");
    m_items.erase(it);
}

void CameraList::RemoveByDeviceID(const std::string& deviceID) {
    auto it = std::find_if(m_items.begin(), m_items.end(),
                           [&](const CameraPtr& c) { return c->GetDeviceID() == deviceID.c_str(); });
    if (it == m_items.end())
        ORV_RAISE(ORVANE_ERR_INVALID_ID, "CameraList: no camera has the device id '" + deviceID + "'");
    m_items.erase(it);
}

void CameraList::Append(const CameraList& other) {
    const std::vector<CameraPtr> items = other.m_items; // other may be *this
    m_items.insert(m_items.end(), items.begin(), items.end());
}

void CameraList::Add(const CameraPtr& camera) { m_items.push_back(camera); }

} // namespace Orvane
