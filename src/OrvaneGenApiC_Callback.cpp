// Node callbacks: registration of C functions on nodes.
#include "OrvaneGenApiCModule.h"

using namespace Orvane::GenApi;

orvError orvNodeRegisterCallback(orvNodeHandle hNode, orvNodeCallbackFunction pFunction, orvNodeCallbackHandle* phCallback) {
    return GenApiFrame([&] {
        CheckNullHandle(hNode);
        if (!pFunction)
            RaiseError(371, "OrvaneGenApiC", "orvNodeRegisterCallback", "orvNodeCallbackFunction parameter is NULL",
                       ORVANE_ERR_INVALID_PARAMETER);
        CheckNullParam(phCallback);
        checkObjectType(ORV_HANDLE_NODE, hNode);
        orvObject* record = newRecord(ORV_HANDLE_CALLBACK);
        INode* node = CheckedNode(hNode);
        NodeCallbackRegistration* registration = new NodeCallbackRegistration();
        registration->callback = new OrvNodeCallbackInternal(node, pFunction);
        registration->token = node->RegisterCallback(registration->callback);
        record->target = registration;
        *phCallback = record;
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
