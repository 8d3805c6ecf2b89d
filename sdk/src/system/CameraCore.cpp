#include "system/CameraCore.h"

namespace Orvane {
namespace internal {

CameraCore::CameraCore(DeviceInfo info) : m_info(std::move(info)) {}
CameraCore::~CameraCore() = default;

DeviceInfo CameraCore::Info() const {
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_info;
}

void CameraCore::UpdateInfo(const DeviceInfo& info) {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_info = info;
}

DeviceAccessStatus CameraCore::AccessStatus() const {
    if (IsInitialized()) return AccessStatusOpenReadWrite;
    return Info().transport == "Virtual" ? AccessStatusReadWrite : AccessStatusUnknown;
}

} // namespace internal
} // namespace Orvane
