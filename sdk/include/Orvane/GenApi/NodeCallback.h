// Node callbacks: objects a node calls after it (or a node it depends on)
// changed.
#ifndef ORVANE_GENAPI_NODE_CALLBACK_H
#define ORVANE_GENAPI_NODE_CALLBACK_H

#include <functional>

#include "Orvane/GenApi/Interfaces.h"

namespace Orvane {
namespace GenApi {

// Base of every node callback. The node map calls operator() once per change,
// with the callback's own type: cb_PostInsideLock while the writing thread
// still holds the node map's lock, cb_PostOutsideLock after it released it
// (after its outermost hold: changes made while the caller holds the map with
// INodeMap::Lock are reported at Unlock, each callback once). Both run on the
// thread that made the change (a setter, a command, InvalidateNode, an Impose
// call or Poll). A callback may call back into the node map, also read or
// write nodes from there; an exception it throws is logged (Orvane.GenApi, at
// most one record a second per node) and goes no further: the change has
// happened.
class ORVANE_API CNodeCallback {
public:
    CNodeCallback(INode* pNode, ECallbackType CallbackType) : m_pNode(pNode), m_CallbackType(CallbackType) {}
    virtual ~CNodeCallback();
    virtual void operator()(ECallbackType CallbackType) const = 0;
    virtual void Destroy() = 0;
    INode* GetNode() const { return m_pNode; }
    ECallbackType GetCallbackType() const { return m_CallbackType; }

protected:
    INode* m_pNode;
    ECallbackType m_CallbackType;
};

// A callback that calls a std::function with the node; the usual way to
// register one from C++:
//   auto* cb = new FunctionNodeCallback(node, [](INode* n) { ... });
//   auto h = node->RegisterCallback(cb); ... node->DeregisterCallback(h); cb->Destroy();
class FunctionNodeCallback : public CNodeCallback {
public:
    FunctionNodeCallback(INode* pNode, std::function<void(INode*)> function,
                         ECallbackType CallbackType = cb_PostOutsideLock)
        : CNodeCallback(pNode, CallbackType), m_function(std::move(function)) {}
    void operator()(ECallbackType CallbackType) const override {
        if (CallbackType == m_CallbackType && m_function) m_function(m_pNode);
    }
    void Destroy() override { delete this; }

private:
    std::function<void(INode*)> m_function;
};

} // namespace GenApi
} // namespace Orvane

#endif
