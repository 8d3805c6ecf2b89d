// Fuzz target: arbitrary bytes as the chunk data of an image, attached to the
// device node map of a virtual camera (its generated description, 16 x 16
// Mono8), then every chunk feature read under every value of its selector.
// The camera is opened once, on the first input, and kept for the process.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include "FuzzSupport.h"
#include "NodeWalk.h"
#include "Orvane/Camera.h"
#include "Orvane/CameraList.h"
#include "Orvane/Exception.h"
#include "Orvane/GenApi/GenApi.h"
#include "Orvane/System.h"
#include "camera/CameraAccess.h"
#include "camera/DiscoveredCamera.h"
#include "genapi/ArvNodeMap.h"
#include "virtual/VirtualCameraRegisters.h"

using namespace Orvane;
using namespace Orvane::GenApi;
namespace vcam = Orvane::internal::vcam;

namespace {

struct OpenCamera {
    CameraPtr camera;
    INodeMap* nodes = nullptr;
    impl::ArvNodeMap* map = nullptr;
    std::vector<INode*> features;  // every chunk value feature
    std::vector<INode*> selectors; // the selector of each feature, or null
};

OpenCamera& TheCamera() {
    static OpenCamera* const c = [] {
        // The virtual transport only: no packet leaves the process.
        setenv("ORVANE_TRANSPORTS", "virtual", 1);
        OpenCamera* cam = new OpenCamera;
        SystemPtr system = System::GetInstance();
        cam->camera = system->GetCameras().GetBySerial("VC0001");
        if (!cam->camera) std::abort();
        cam->camera->Init();
        cam->nodes = &cam->camera->GetNodeMap();
        cam->map = &cam->camera->Core().Access().Connection()->NodeMap();
        CIntegerPtr(cam->nodes->GetNode("Width"))->SetValue(16);
        CIntegerPtr(cam->nodes->GetNode("Height"))->SetValue(16);
        CEnumerationPtr(cam->nodes->GetNode("PixelFormat"))->FromString("Mono8");
        for (const vcam::ChunkFeatureInfo& f : vcam::kChunkFeatures) {
            INode* node = cam->nodes->GetNode(f.feature);
            if (!node) std::abort();
            INode* selector = nullptr;
            for (const vcam::NamedRegister& r : vcam::kRegisters)
                if (r.portId != 0 && std::string(r.feature) == f.feature && r.info->selector[0])
                    selector = cam->nodes->GetNode(r.info->selector[0]);
            cam->features.push_back(node);
            cam->selectors.push_back(selector);
        }
        return cam;
    }();
    return *c;
}

// The values a selector can take: its entries' values, or its range when it
// is an integer (at most 16 values).
std::vector<int64_t> SelectorValues(INode* selector) {
    std::vector<int64_t> values;
    if (CEnumerationPtr e = selector) {
        NodeList_t entries;
        e->GetEntries(entries);
        for (INode* entry : entries)
            if (CEnumEntryPtr v = entry) values.push_back(v->GetValue());
    } else if (CIntegerPtr i = selector) {
        for (int64_t v = i->GetMin(); v <= i->GetMax() && values.size() < 16; ++v) values.push_back(v);
    }
    return values;
}

void SetSelector(INode* selector, int64_t value) {
    if (CEnumerationPtr e = selector)
        e->SetIntValue(value);
    else if (CIntegerPtr i = selector)
        i->SetValue(value);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size > orvfuzz::kMaxInput) return 0;
    OpenCamera& cam = TheCamera();
    // The map keeps the pointer: the bytes live until DetachChunkData below.
    const std::vector<uint8_t> payload(data, data + size);
    try {
        cam.map->AttachChunkData(payload.data(), payload.size());
    } catch (const Orvane::Exception&) {
        if (cam.map->HasChunkData()) std::abort(); // a refused layout leaves nothing attached
    }
    for (size_t i = 0; i < cam.features.size(); ++i) {
        std::vector<int64_t> values{0};
        if (cam.selectors[i]) values = SelectorValues(cam.selectors[i]);
        for (int64_t v : values) {
            try {
                if (cam.selectors[i]) SetSelector(cam.selectors[i], v);
                orvfuzz::ReadNode(cam.features[i]);
            } catch (const Orvane::Exception&) {}
        }
    }
    cam.map->DetachChunkData();
    return 0;
}
