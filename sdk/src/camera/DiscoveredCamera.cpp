#include "camera/DiscoveredCamera.h"

#include "camera/CameraAccess.h"

namespace Orvane {
namespace internal {

DiscoveredCamera::DiscoveredCamera(DeviceInfo info, std::shared_ptr<Transport> transport)
    : m_info(std::move(info)), m_transport(std::move(transport)) {}
DiscoveredCamera::~DiscoveredCamera() = default;

CameraAccess& DiscoveredCamera::Access() {
    if (CameraAccess* c = m_accessPtr.load()) return *c;
    std::lock_guard<std::mutex> lock(m_accessMutex);
    if (!m_access) {
        m_access = std::make_unique<CameraAccess>(*this);
        m_accessPtr.store(m_access.get());
    }
    return *m_access;
}

bool DiscoveredCamera::IsInitialized() const {
    const CameraAccess* c = m_accessPtr.load();
    return c && c->IsInitialized();
}

DeviceInfo DiscoveredCamera::Info() const {
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_info;
}

void DiscoveredCamera::UpdateInfo(const DeviceInfo& info) {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_info = info;
}

DeviceAccessStatus DiscoveredCamera::AccessStatus() const {
    if (IsInitialized()) {
        const CameraAccess* c = m_accessPtr.load();
        return c->AccessMode() == GenApi::RO ? AccessStatusOpenReadOnly : AccessStatusOpenReadWrite;
    }
    return m_transport->Features().alwaysAccessible ? AccessStatusReadWrite : AccessStatusUnknown;
}

} // namespace internal
} // namespace Orvane
