#include "system/CameraCore.h"

#include "camera/CameraControl.h"

namespace Orvane {
namespace internal {

CameraCore::CameraCore(DeviceInfo info) : m_info(std::move(info)) {}
CameraCore::~CameraCore() = default;

CameraControl& CameraCore::Control() {
    if (CameraControl* c = m_controlPtr.load()) return *c;
    std::lock_guard<std::mutex> lock(m_controlMutex);
    if (!m_control) {
        m_control = std::make_unique<CameraControl>(*this);
        m_controlPtr.store(m_control.get());
    }
    return *m_control;
}

bool CameraCore::IsInitialized() const {
    const CameraControl* c = m_controlPtr.load();
    return c && c->IsInitialized();
}

DeviceInfo CameraCore::Info() const {
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_info;
}

void CameraCore::UpdateInfo(const DeviceInfo& info) {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_info = info;
}

DeviceAccessStatus CameraCore::AccessStatus() const {
    if (IsInitialized()) {
        const CameraControl* c = m_controlPtr.load();
        return c->AccessMode() == GenApi::RO ? AccessStatusOpenReadOnly : AccessStatusOpenReadWrite;
    }
    return Info().transport == "Virtual" ? AccessStatusReadWrite : AccessStatusUnknown;
}

} // namespace internal
} // namespace Orvane
