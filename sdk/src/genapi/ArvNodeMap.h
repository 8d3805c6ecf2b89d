// ArvNodeMap: the GenApi node map of a device, over Aravis's ArvGc.
//
// One Orvane node per named feature node of the device's GenICam document
// (the whole DOM, not only what Root reaches); enumeration entries become
// nodes named "EnumEntry_<Enumeration>_<Entry>" in XML order. The nodes
// Aravis injects into GigE Vision and fake node maps ("Arv..." names absent
// from the device's own XML) take part in the dependency graph but are
// hidden from users.
//
// Dependency graph: every pValue, pMin, pMax, pInc, pIsAvailable,
// pIsImplemented, pIsLocked, pIndex, pVariable, pAddress, pLength,
// pInvalidator, pCommandValue, pValueIndexed, pValueDefault and pOffset link
// makes the linking node depend on its target; pSelected makes the selected
// node depend on its selector. A write changes the written node and the
// nodes it writes through (its pValue chain), so the reverse closure of all of
// them is invalidated and their callbacks fire once each, after the write and
// outside the lock (NodeMapBase).
//
// Caches: a node's caching mode is the XML's Cachable, else WriteThrough for
// registers and constants and, for computed nodes, NoCache as soon as one
// node they read is NoCache. Values of nodes whose mode is not NoCache, and
// access modes whose inputs are all cachable, are kept until the graph
// invalidates them (a write, InvalidateNode, InvalidateNodes, Poll, a command,
// a port write). Whoever changes device memory behind the map's back (direct
// ArvDevice or ArvGc calls, fake camera memory) calls InvalidateNodes.
//
// Locking: the map's recursive lock (NodeMapBase) guards every entry into
// ArvGc. Aravis's GenICam layer has no locking of its own, so code outside
// the map that touches this device's ArvGc or its features holds the map's
// lock (INodeMap::Lock or NodeMapBase::MapLock) meanwhile.
//
// Ownership: the map holds a reference on the ArvDevice (and so its ArvGc)
// for its whole life.
#ifndef ORVANE_GENAPI_ARV_NODE_MAP_H
#define ORVANE_GENAPI_ARV_NODE_MAP_H

#include <arv.h>

#include <string>
#include <unordered_map>

#include "genapi/NodeMapBase.h"

namespace Orvane {
namespace GenApi {
namespace impl {

class XmlSideTable;

class ArvNodeMap : public NodeMapBase {
public:
    // Builds the map of `device`'s GenICam document. Raises
    // ORVANE_ERR_GENICAM_PROPERTY when the device has no document.
    ArvNodeMap(ArvDevice* device, std::string deviceName);
    ~ArvNodeMap() override;

    ArvDevice* Device() const { return m_device; }
    ArvGc* Gc() const { return m_gc; }
    // The Orvane node over an Aravis node (hidden nodes included), or null.
    Node* NodeOf(ArvGcNode* node) const;

private:
    void Build();

    ArvDevice* m_device;
    ArvGc* m_gc;
    std::unordered_map<ArvGcNode*, Node*> m_byArv;
};

} // namespace impl
} // namespace GenApi
} // namespace Orvane

#endif
