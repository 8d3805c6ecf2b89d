// VirtualStoredState: what one virtual camera keeps in its storage
// (VirtualCameraStorage) besides the user sets and the user file: the
// DeviceUserID, the UserSetDefault choice and the defect table
// (DefectTablePixelCount, DefectTableCoordinateX/Y). They are written to the
// registers at power-up; DeviceUserID and UserSetDefault are kept whenever
// they are written, the defect table by DefectTableSave.
//
// Ownership: one per VirtualCameraRuntime; the storage outlives it.
// Threads and locks: every member runs with the session's node map lock held
// and takes the storage's mutex while it uses the storage.
#ifndef ORVANE_VIRTUAL_VIRTUAL_STORED_STATE_H
#define ORVANE_VIRTUAL_VIRTUAL_STORED_STATE_H

#include <cstdint>
#include <vector>

#include "virtual/VirtualRegisters.h"

namespace Orvane {
namespace internal {

struct VirtualCameraStorage;

class VirtualStoredState {
public:
    VirtualStoredState(VirtualRegisters& registers, VirtualCameraStorage& storage);

    // Power-up: writes the stored DeviceUserID (when one was kept), defect
    // table (when one was saved) and UserSetDefault to the registers.
    void WriteToDevice();

    // Write rules: UserSetDefault (at `address`) or DeviceUserID was written.
    void OnUserSetDefaultWritten(uint32_t address);
    void OnUserIdWritten();

    // DefectTableSave; DefectTableFactoryRestore (the registers back to the
    // initial table, notified; the saved table stays).
    void SaveDefectTable();
    void RestoreFactoryDefectTable();

    // FactoryReset's part: erases the storage (user sets and user file
    // included) and writes the initial UserSetDefault and DeviceUserID (not
    // notified).
    void Erase();

private:
    VirtualRegisters& m_registers;
    VirtualCameraStorage& m_storage;
    std::vector<VirtualRegisters::Run> m_defectRuns; // the defect table's registers, merged
};

} // namespace internal
} // namespace Orvane

#endif
