// Node callbacks: registration of C functions on nodes.
#include <memory>

#include "OrvaneGenApiCModule.h"

using namespace Orvane::GenApi;

orvError orvNodeRegisterCallback(orvNodeHandle hNode, orvNodeCallbackFunction pFunction,
                                 orvNodeCallbackHandle* phCallback) {
    return GenApiFrame([&] {
        CheckNullHandle(hNode);
        if (!pFunction)
            RaiseError(371, "OrvaneGenApiC", "orvNodeRegisterCallback", "orvNodeCallbackFunction parameter is NULL",
                       ORVANE_ERR_INVALID_PARAMETER);
        CheckNullParam(phCallback);
        checkObjectType(ORV_HANDLE_NODE, hNode);
        *phCallback = BuildRecord(ORV_HANDLE_CALLBACK, [&](orvObject* r) {
            INode* node = CheckedNode(hNode);
            std::unique_ptr<OrvNodeCallbackInternal> callback(new OrvNodeCallbackInternal(node, pFunction));
            std::unique_ptr<NodeCallbackRegistration> registration(new NodeCallbackRegistration());
            registration->token = node->RegisterCallback(callback.get());
            registration->callback = callback.release();
            r->target = registration.release();
        });
        return ORV_OK;
    });
}

orvError orvNodeDeregisterCallback(orvNodeHandle hNode, orvNodeCallbackHandle hCallback) {
    return GenApiFrame([&] {
        CheckNullHandle(hNode);
        CheckNullParam(hCallback);
        checkObjectType(ORV_HANDLE_NODE, hNode);
        checkObjectType(ORV_HANDLE_CALLBACK, hCallback);
        orvObject* record = asRecord(hCallback);
        NodeCallbackRegistration* registration = static_cast<NodeCallbackRegistration*>(record->target);
        CheckedNode(hNode)->DeregisterCallback(registration->token);
        delete registration->callback;
        delete registration;
        destroyRecord(record);
        return ORV_OK;
    });
}
