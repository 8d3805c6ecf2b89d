// Fuzz target: arbitrary text as a GenICam description, built into a node
// map through CXmlNodeMap::FromText (the public route), then every node read.
#include <cstddef>
#include <cstdint>
#include <memory>

#include "FuzzSupport.h"
#include "NodeWalk.h"
#include "Orvane/Exception.h"
#include "Orvane/GenApi/XmlNodeMap.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size > orvfuzz::kMaxInput) return 0;
    std::unique_ptr<Orvane::GenApi::CXmlNodeMap> map;
    try {
        map =
            Orvane::GenApi::CXmlNodeMap::FromText(Orvane::GenICam::gcstring(reinterpret_cast<const char*>(data), size));
    } catch (const Orvane::Exception&) {
        return 0;
    }
    if (map) orvfuzz::ReadAllNodes(map->GetNodeMap());
    return 0;
}
