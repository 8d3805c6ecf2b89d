#include "transport/gige/GvDeviceGuard.h"

#include <arv.h>

#include <cstring>
#include <mutex>
#include <string>

#include "transport/DeviceConnection.h"

namespace Orvane {
namespace internal {

namespace {

struct Requests {
    gboolean (*readMemory)(ArvDevice*, guint64, guint32, void*, GError**) = nullptr;
    gboolean (*writeMemory)(ArvDevice*, guint64, guint32, void*, GError**) = nullptr;
    gboolean (*readRegister)(ArvDevice*, guint64, guint32*, GError**) = nullptr;
    gboolean (*writeRegister)(ArvDevice*, guint64, guint32, GError**) = nullptr;
};

// Set once, before the first device is opened; read-only afterwards.
Requests g_original;

// A device known lost: the request is answered here.
bool Refused(ArvDevice* device, GError** error) {
    if (!DeviceConnection::IsLostDevice(device)) return false;
    g_set_error(error, ARV_DEVICE_ERROR, ARV_DEVICE_ERROR_NOT_CONNECTED,
                "the device was lost: the request was not sent");
    return true;
}

// After a request: a request that got no answer at all means the device
// stopped answering, except a write of a device that is not ours to control
// (such writes are dropped by the device and time out).
gboolean Finish(ArvDevice* device, gboolean ok, GError* local, GError** error, bool write) {
    if (!ok && local && local->domain == ARV_DEVICE_ERROR && local->code == ARV_DEVICE_ERROR_TIMEOUT &&
        (!write || arv_gv_device_is_controller(ARV_GV_DEVICE(device))))
        DeviceConnection::ReportUnanswered(
            device, std::string("it stopped answering: ") + (local->message ? local->message : "a request timed out"));
    if (local) g_propagate_error(error, local);
    return ok;
}

gboolean ReadMemory(ArvDevice* device, guint64 address, guint32 size, void* buffer, GError** error) {
    if (Refused(device, error)) {
        if (buffer && size) std::memset(buffer, 0, size);
        return FALSE;
    }
    GError* local = nullptr;
    const gboolean ok = g_original.readMemory(device, address, size, buffer, &local);
    return Finish(device, ok, local, error, false);
}

gboolean WriteMemory(ArvDevice* device, guint64 address, guint32 size, void* buffer, GError** error) {
    if (Refused(device, error)) return FALSE;
    GError* local = nullptr;
    const gboolean ok = g_original.writeMemory(device, address, size, buffer, &local);
    return Finish(device, ok, local, error, true);
}

gboolean ReadRegister(ArvDevice* device, guint64 address, guint32* value, GError** error) {
    if (Refused(device, error)) {
        if (value) *value = 0;
        return FALSE;
    }
    GError* local = nullptr;
    const gboolean ok = g_original.readRegister(device, address, value, &local);
    return Finish(device, ok, local, error, false);
}

gboolean WriteRegister(ArvDevice* device, guint64 address, guint32 value, GError** error) {
    if (Refused(device, error)) return FALSE;
    GError* local = nullptr;
    const gboolean ok = g_original.writeRegister(device, address, value, &local);
    return Finish(device, ok, local, error, true);
}

} // namespace

void InstallGvDeviceGuard() {
    static std::once_flag once;
    std::call_once(once, [] {
        // The class lives as long as the process once referenced.
        auto* klass = static_cast<ArvDeviceClass*>(g_type_class_ref(ARV_TYPE_GV_DEVICE));
        g_original.readMemory = klass->read_memory;
        g_original.writeMemory = klass->write_memory;
        g_original.readRegister = klass->read_register;
        g_original.writeRegister = klass->write_register;
        klass->read_memory = &ReadMemory;
        klass->write_memory = &WriteMemory;
        klass->read_register = &ReadRegister;
        klass->write_register = &WriteRegister;
    });
}

} // namespace internal
} // namespace Orvane
