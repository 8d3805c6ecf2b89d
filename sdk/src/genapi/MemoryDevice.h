// MemoryDevice: an Aravis device with no camera behind it, only memory and a
// GenICam description. It lets a node map be built from an XML document
// alone (CXmlNodeMap) and lets tests run Aravis's own node tree over the
// same memory for comparison.
//
// Memory: a sparse, zero-initialised 64-bit address space. Pages of 4 KiB
// are allocated on their first write; reading memory never written gives
// zeros. An access whose address + size wraps past 2^64 fails with a GError
// (ARV_DEVICE_ERROR_PROTOCOL_ERROR_INVALID_ADDRESS) and changes nothing.
// Registers (read_register/write_register) are 4 bytes of that memory in host
// byte order. No stream: create_stream fails with ARV_DEVICE_ERROR_NO_STREAM_CHANNEL.
//
// Description: get_genicam_xml gives the XML text the device was made with;
// get_genicam the ArvGc Aravis built from it with arv_gc_new (null when
// Aravis could not build one, see NewMemoryDevice).
//
// Threads: the device has no lock of its own. Its user serialises every
// access: the node map's lock guards all access through a node map (the map
// is the only user of its device); a test driving an ArvGc directly does so
// from one thread.
#ifndef ORVANE_GENAPI_MEMORY_DEVICE_H
#define ORVANE_GENAPI_MEMORY_DEVICE_H

#include <arv.h>

#include <cstddef>
#include <cstdint>
#include <string>

namespace Orvane {
namespace GenApi {
namespace impl {

// A new memory device (one reference, for the caller) serving `xml`. The text
// is not checked here: when Aravis cannot build a node tree from it, the
// device exists and arv_device_get_genicam gives null. Callers check the
// text first (CheckGenICamXml) unless they mean to test that path; Aravis
// logs its own complaints about malformed text.
ArvDevice* NewMemoryDevice(const std::string& xml);

// Whether `device` is a memory device.
bool IsMemoryDevice(ArvDevice* device);

// Direct access to a memory device's memory (no node tree involved). Return
// false and set `error` like read_memory/write_memory.
bool MemoryDeviceRead(ArvDevice* device, uint64_t address, size_t size, void* buffer, GError** error);
bool MemoryDeviceWrite(ArvDevice* device, uint64_t address, size_t size, const void* buffer, GError** error);

// Number of pages allocated so far (for tests).
size_t MemoryDevicePageCount(ArvDevice* device);

} // namespace impl
} // namespace GenApi
} // namespace Orvane

#endif
