// InterfaceCore: the state behind one Orvane::Interface: its transport, the
// cameras found by the last discovery, and its transport-layer node map.
//
// Locking: m_mutex guards the camera list and the selector. The transport
// discovers before it is taken; concurrent updates of one interface then
// apply their results one after the other.
#ifndef ORVANE_SYSTEM_INTERFACE_CORE_H
#define ORVANE_SYSTEM_INTERFACE_CORE_H

#include <memory>
#include <mutex>
#include <vector>

#include "Orvane/CameraList.h"
#include "genapi/NativeNodeMap.h"
#include "transport/Transport.h"

namespace Orvane {
namespace internal {

struct CameraChanges {
    std::vector<CameraPtr> arrived;
    std::vector<CameraPtr> removed;
    bool Any() const { return !arrived.empty() || !removed.empty(); }
};

class InterfaceCore {
public:
    explicit InterfaceCore(std::shared_ptr<Transport> transport);
    ~InterfaceCore();

    std::string Id() const { return m_transport->Id(); }
    std::string DisplayName() const { return m_transport->DisplayName(); }
    TransportKind Kind() const { return m_transport->Kind(); }

    // Rediscovers; returns the cameras that arrived and those that left.
    CameraChanges Update();
    // The cameras of the last discovery (discovering first if never done).
    CameraList Cameras();
    // True when a camera of this interface is initialised or held outside the
    // SDK's own lists.
    bool InUse();
    // Drops the cameras (system shutdown).
    void Clear();

    GenApi::INodeMap& TLNodeMap() { return m_nodeMap; }

private:
    void BuildNodeMap();
    DeviceInfo SelectedDevice();

    std::shared_ptr<Transport> m_transport; // shared with the cameras it found
    std::mutex m_mutex;
    bool m_discovered = false;
    std::vector<CameraPtr> m_cameras;
    int64_t m_deviceSelector = 0;
    GenApi::impl::NativeNodeMap m_nodeMap;
};

} // namespace internal
} // namespace Orvane

#endif
