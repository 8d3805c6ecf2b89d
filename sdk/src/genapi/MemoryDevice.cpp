#include "genapi/MemoryDevice.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <limits>
#include <memory>
#include <new>
#include <unordered_map>

namespace Orvane {
namespace GenApi {
namespace impl {

namespace {

constexpr uint64_t kPageSize = 4096;

using Page = std::array<uint8_t, kPageSize>;

// What a memory device holds beside its GObject parts.
struct State {
    std::string xml;
    ArvGc* gc = nullptr;
    std::unordered_map<uint64_t, std::unique_ptr<Page>> pages; // page number -> page

    bool InRange(uint64_t address, uint64_t size, GError** error) const {
        if (size > 0 && address > std::numeric_limits<uint64_t>::max() - (size - 1)) {
            g_set_error(error, ARV_DEVICE_ERROR, ARV_DEVICE_ERROR_PROTOCOL_ERROR_INVALID_ADDRESS,
                        "memory access of %" G_GUINT64_FORMAT " bytes at 0x%" G_GINT64_MODIFIER
                        "x runs past the end of the 64-bit address space",
                        static_cast<guint64>(size), static_cast<guint64>(address));
            return false;
        }
        return true;
    }

    void Read(uint64_t address, uint64_t size, uint8_t* out) const {
        while (size > 0) {
            const uint64_t offset = address % kPageSize;
            const uint64_t n = std::min<uint64_t>(size, kPageSize - offset);
            const auto it = pages.find(address / kPageSize);
            if (it == pages.end())
                std::memset(out, 0, n);
            else
                std::memcpy(out, it->second->data() + offset, n);
            out += n;
            size -= n;
            address += n; // wraps to 0 only after the last byte
        }
    }

    void Write(uint64_t address, uint64_t size, const uint8_t* in) {
        while (size > 0) {
            const uint64_t offset = address % kPageSize;
            const uint64_t n = std::min<uint64_t>(size, kPageSize - offset);
            std::unique_ptr<Page>& page = pages[address / kPageSize];
            if (!page) page = std::make_unique<Page>(Page{});
            std::memcpy(page->data() + offset, in, n);
            in += n;
            size -= n;
            address += n;
        }
    }
};

struct OrvMemoryDevice {
    ArvDevice parent;
    State* state;
};

struct OrvMemoryDeviceClass {
    ArvDeviceClass parent_class;
};

GObjectClass* g_parentClass = nullptr;

GType MemoryDeviceType();

State* StateOf(ArvDevice* device) { return reinterpret_cast<OrvMemoryDevice*>(device)->state; }

ArvStream* CreateStream(ArvDevice*, ArvStreamCallback, void*, GDestroyNotify, GError** error) {
    g_set_error(error, ARV_DEVICE_ERROR, ARV_DEVICE_ERROR_NO_STREAM_CHANNEL,
                "a device made from a GenICam XML description has no stream");
    return nullptr;
}

const char* GetGenicamXml(ArvDevice* device, size_t* size) {
    const State* state = StateOf(device);
    if (size) *size = state->xml.size();
    return state->xml.c_str();
}

ArvGc* GetGenicam(ArvDevice* device) { return StateOf(device)->gc; }

gboolean ReadMemory(ArvDevice* device, guint64 address, guint32 size, void* buffer, GError** error) {
    const State* state = StateOf(device);
    if (!state->InRange(address, size, error)) return FALSE;
    state->Read(address, size, static_cast<uint8_t*>(buffer));
    return TRUE;
}

gboolean WriteMemory(ArvDevice* device, guint64 address, guint32 size, void* buffer, GError** error) {
    State* state = StateOf(device);
    if (!state->InRange(address, size, error)) return FALSE;
    state->Write(address, size, static_cast<const uint8_t*>(buffer));
    return TRUE;
}

gboolean ReadRegister(ArvDevice* device, guint64 address, guint32* value, GError** error) {
    return ReadMemory(device, address, sizeof *value, value, error);
}

gboolean WriteRegister(ArvDevice* device, guint64 address, guint32 value, GError** error) {
    return WriteMemory(device, address, sizeof value, &value, error);
}

void Finalize(GObject* object) {
    auto* self = reinterpret_cast<OrvMemoryDevice*>(object);
    if (self->state) {
        // The ArvGc points back at the device without a reference: it goes first.
        if (self->state->gc) g_object_unref(self->state->gc);
        delete self->state;
        self->state = nullptr;
    }
    g_parentClass->finalize(object);
}

void ClassInit(gpointer klass, gpointer) {
    g_parentClass = G_OBJECT_CLASS(g_type_class_peek_parent(klass));
    G_OBJECT_CLASS(klass)->finalize = &Finalize;
    auto* device = static_cast<ArvDeviceClass*>(klass);
    device->create_stream = &CreateStream;
    device->get_genicam_xml = &GetGenicamXml;
    device->get_genicam = &GetGenicam;
    device->read_memory = &ReadMemory;
    device->write_memory = &WriteMemory;
    device->read_register = &ReadRegister;
    device->write_register = &WriteRegister;
}

void InstanceInit(GTypeInstance* instance, gpointer) {
    reinterpret_cast<OrvMemoryDevice*>(instance)->state = new State();
}

GType MemoryDeviceType() {
    static const GType type = [] {
        GTypeInfo info{};
        info.class_size = sizeof(OrvMemoryDeviceClass);
        info.class_init = &ClassInit;
        info.instance_size = sizeof(OrvMemoryDevice);
        info.instance_init = &InstanceInit;
        return g_type_register_static(ARV_TYPE_DEVICE, "OrvMemoryDevice", &info, GTypeFlags(0));
    }();
    return type;
}

} // namespace

ArvDevice* NewMemoryDevice(const std::string& xml) {
    auto* device = static_cast<ArvDevice*>(g_object_new(MemoryDeviceType(), nullptr));
    State* state = StateOf(device);
    state->xml = xml;
    if (!xml.empty()) state->gc = arv_gc_new(device, state->xml.data(), state->xml.size());
    return device;
}

bool IsMemoryDevice(ArvDevice* device) { return device && G_TYPE_CHECK_INSTANCE_TYPE(device, MemoryDeviceType()); }

bool MemoryDeviceRead(ArvDevice* device, uint64_t address, size_t size, void* buffer, GError** error) {
    const State* state = StateOf(device);
    if (!state->InRange(address, size, error)) return false;
    state->Read(address, size, static_cast<uint8_t*>(buffer));
    return true;
}

bool MemoryDeviceWrite(ArvDevice* device, uint64_t address, size_t size, const void* buffer, GError** error) {
    State* state = StateOf(device);
    if (!state->InRange(address, size, error)) return false;
    state->Write(address, size, static_cast<const uint8_t*>(buffer));
    return true;
}

size_t MemoryDevicePageCount(ArvDevice* device) { return StateOf(device)->pages.size(); }

} // namespace impl
} // namespace GenApi
} // namespace Orvane
