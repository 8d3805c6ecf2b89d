// VirtualCameraStorage: the non-volatile memory of one virtual camera: what a
// real camera keeps across power cycles (saved user sets, the user set loaded
// at power-up, the user ID, the saved defect table, the user file).
//
// Ownership and lifetime: one storage per serial number, created on first use
// and kept for the life of the process, so a camera finds its saved settings
// again after DeInit and Init (a new DeviceConnection). Nothing is written to disk.
//
// Locking: `mutex` guards every member; the runtime of the camera's open
// session takes it (with the node map's lock held, in that order).
#ifndef ORVANE_VIRTUAL_CAMERA_STORAGE_H
#define ORVANE_VIRTUAL_CAMERA_STORAGE_H

#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace Orvane {
namespace internal {

struct VirtualCameraStorage {
    std::mutex mutex;
    std::vector<uint8_t> userSets[2]; // UserSet0, UserSet1 as their files hold them; empty: never saved
    int64_t userSetDefault = 0;       // UserSetDefault register value (0: Default)
    bool hasUserId = false;
    std::vector<uint8_t> userId;      // DeviceUserID register bytes
    std::vector<uint8_t> defectTable; // the saved defect table registers; empty: the factory table
    std::vector<uint8_t> userFile;    // UserFile1 content

    // Back to the factory state (FactoryReset).
    void Erase() {
        userSets[0].clear();
        userSets[1].clear();
        userSetDefault = 0;
        hasUserId = false;
        userId.clear();
        defectTable.clear();
        userFile.clear();
    }

    // The storage of the camera with this serial number.
    static std::shared_ptr<VirtualCameraStorage> For(const std::string& serialNumber);
};

} // namespace internal
} // namespace Orvane

#endif
