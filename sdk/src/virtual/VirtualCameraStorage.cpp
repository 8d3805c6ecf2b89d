#include "virtual/VirtualCameraStorage.h"

#include <map>

namespace Orvane {
namespace internal {

std::shared_ptr<VirtualCameraStorage> VirtualCameraStorage::For(const std::string& serialNumber) {
    // Process-wide registry; its mutex guards only the map.
    static std::mutex registryMutex;
    static auto* registry = new std::map<std::string, std::shared_ptr<VirtualCameraStorage>>();
    std::lock_guard<std::mutex> lock(registryMutex);
    std::shared_ptr<VirtualCameraStorage>& storage = (*registry)[serialNumber];
    if (!storage) storage = std::make_shared<VirtualCameraStorage>();
    return storage;
}

} // namespace internal
} // namespace Orvane
