#include <arv.h>
#include <cstdio>
#include "Orvane/GenApi/GenApi.h"
#include "genapi/ArvNodeMap.h"
using namespace Orvane::GenApi;
int main() {
    GError* e = nullptr;
    ArvDevice* d = arv_fake_device_new("T1", &e);
    {
        impl::ArvNodeMap map(d, "Device");
        NodeList_t nodes;
        map.GetNodes(nodes);
        for (INode* n : nodes) {
            std::printf("%-40s type=%d am=%d cache=%d feat=%d cacheAM=%d\n", n->GetName().c_str(), n->GetPrincipalInterfaceType(),
                        n->GetAccessMode(), n->GetCachingMode(), n->IsFeature(), n->IsAccessModeCacheable());
        }
        CIntegerPtr w(map.GetNode("Width"));
        std::printf("Width %ld\n", (long)w->GetValue());
    }
    g_object_unref(d);
}
