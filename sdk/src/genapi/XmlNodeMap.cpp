#include "Orvane/GenApi/XmlNodeMap.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string>

#include "core/Raise.h"
#include "genapi/ArvNodeMap.h"
#include "genapi/MemoryDevice.h"
#include "genapi/XmlValidation.h"

namespace Orvane {
namespace GenApi {

using impl::ArvNodeMap;

struct CXmlNodeMap::Impl {
    ArvDevice* device = nullptr; // one reference, released after the map
    std::unique_ptr<ArvNodeMap> map;

    ~Impl() {
        map.reset();
        if (device) g_object_unref(device);
    }
};

namespace {

std::string ReadFile(const std::string& path) {
    FILE* file = std::fopen(path.c_str(), "rb");
    if (!file) ORV_RAISE(ORVANE_ERR_IO, "cannot open the GenICam XML file " + path + ": " + std::strerror(errno));
    std::string text;
    char chunk[65536];
    size_t n;
    while ((n = std::fread(chunk, 1, sizeof chunk, file)) > 0) text.append(chunk, n);
    const bool failed = std::ferror(file) != 0;
    const int err = errno;
    std::fclose(file);
    if (failed) ORV_RAISE(ORVANE_ERR_IO, "cannot read the GenICam XML file " + path + ": " + std::strerror(err));
    return text;
}

void CheckAccess(uint64_t address, const void* buffer, size_t length) {
    if (!buffer && length > 0) ORV_RAISE(ORVANE_ERR_INVALID_ARGUMENT, "no buffer for a memory access");
    if (length > 0 && address > UINT64_MAX - (length - 1))
        ORV_RAISE(ORVANE_ERR_OUT_OF_RANGE, "a memory access of " + std::to_string(length) + " bytes at address " +
                                               std::to_string(address) + " runs past the end of the address space");
}

} // namespace

std::unique_ptr<CXmlNodeMap> CXmlNodeMap::Build(const GenICam::gcstring& xml, const GenICam::gcstring& source) {
    const std::string name(source.c_str(), source.size());
    // Checked before Aravis sees it: Aravis logs malformed text and may build
    // a partial tree from it.
    impl::CheckGenICamXml(xml.c_str(), xml.size(), name);
    std::unique_ptr<CXmlNodeMap> result(new CXmlNodeMap());
    Impl& impl = *result->m_impl;
    impl.device = impl::NewMemoryDevice(std::string(xml.c_str(), xml.size()));
    if (!arv_device_get_genicam(impl.device))
        ORV_RAISE(ORVANE_ERR_GENICAM_INVALID_ARGUMENT,
                  "the GenICam XML of " + name + " is invalid: Aravis could not build a node tree from it");
    impl.map = std::make_unique<ArvNodeMap>(impl.device, "Device");
    return result;
}

std::unique_ptr<CXmlNodeMap> CXmlNodeMap::FromFile(const GenICam::gcstring& path) {
    return Build(ReadFile(std::string(path.c_str(), path.size())), path);
}

std::unique_ptr<CXmlNodeMap> CXmlNodeMap::FromText(const GenICam::gcstring& xml) {
    return Build(xml, "the given text");
}

CXmlNodeMap::CXmlNodeMap() : m_impl(std::make_unique<Impl>()) {}

CXmlNodeMap::~CXmlNodeMap() = default;

INodeMap& CXmlNodeMap::GetNodeMap() const { return *m_impl->map; }

void CXmlNodeMap::ReadMemory(uint64_t address, void* buffer, size_t length) const {
    CheckAccess(address, buffer, length);
    ArvNodeMap::MapLock lock(*m_impl->map);
    impl::MemoryDeviceRead(m_impl->device, address, length, buffer, nullptr);
}

void CXmlNodeMap::WriteMemory(uint64_t address, const void* buffer, size_t length) {
    CheckAccess(address, buffer, length);
    ArvNodeMap::MapLock lock(*m_impl->map);
    impl::MemoryDeviceWrite(m_impl->device, address, length, buffer, nullptr);
    m_impl->map->InvalidateNodes();
}

} // namespace GenApi
} // namespace Orvane
