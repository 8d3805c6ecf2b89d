// Node maps from GenICam XML (orvNodeMapCreateFromXml*, orvNodeMapDestroy).
// The handle is an ordinary node map record; the CXmlNodeMap owning the map
// is kept in a registry keyed by the record, so that only those records can
// be destroyed. The registry's mutex guards it; callers own their handles.
#include <memory>
#include <mutex>
#include <unordered_map>

#include "Orvane/GenApi/XmlNodeMap.h"
#include "OrvaneCModule.h"

using Orvane::GenApi::CXmlNodeMap;

namespace {

std::mutex& RegistryMutex() {
    static std::mutex mutex;
    return mutex;
}

std::unordered_map<orvObject*, std::unique_ptr<CXmlNodeMap>>& Registry() {
    static auto* registry = new std::unordered_map<orvObject*, std::unique_ptr<CXmlNodeMap>>();
    return *registry;
}

template <class Make>
orvError Create(orvNodeMapHandle* phNodeMap, Make&& make) {
    return OrvaneCFrame([&] {
        CheckNullParam(phNodeMap);
        std::unique_ptr<CXmlNodeMap> map = make();
        orvObject* record = newRecord(ORV_HANDLE_NODEMAP);
        record->target = static_cast<void*>(&map->GetNodeMap());
        {
            std::lock_guard<std::mutex> lock(RegistryMutex());
            Registry().emplace(record, std::move(map));
        }
        *phNodeMap = record;
        return ORV_OK;
    });
}

} // namespace

orvError orvNodeMapCreateFromXmlFile(const char* pFileName, orvNodeMapHandle* phNodeMap) {
    return Create(phNodeMap, [&] {
        CheckNullParam(pFileName);
        return CXmlNodeMap::FromFile(pFileName);
    });
}

orvError orvNodeMapCreateFromXmlText(const char* pXml, orvNodeMapHandle* phNodeMap) {
    return Create(phNodeMap, [&] {
        CheckNullParam(pXml);
        return CXmlNodeMap::FromText(pXml);
    });
}

orvError orvNodeMapDestroy(orvNodeMapHandle hNodeMap) {
    return OrvaneCFrame([&] {
        CheckNullHandle(hNodeMap);
        checkObjectType(ORV_HANDLE_NODEMAP, hNodeMap);
        orvObject* record = asRecord(hNodeMap);
        std::unique_ptr<CXmlNodeMap> map;
        {
            std::lock_guard<std::mutex> lock(RegistryMutex());
            auto it = Registry().find(record);
            if (it == Registry().end())
                RaiseError(__LINE__, "./OrvaneC_XmlNodeMap", "orvNodeMapDestroy",
                           "the node map was not made by orvNodeMapCreateFromXml*: it belongs to its owner",
                           ORVANE_ERR_INVALID_HANDLE);
            map = std::move(it->second);
            Registry().erase(it);
        }
        emptyPackageRecursively(record); // the node handles, then the record
        map.reset();
        return ORV_OK;
    });
}
