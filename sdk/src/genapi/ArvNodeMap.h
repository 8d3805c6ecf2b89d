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
// node their value is computed from (pValue, pVariable, pIndex, ...; not
// pMin, pMax, pInc or the pIs* links, read anew on every use) is NoCache.
// Values of nodes whose mode is not NoCache, and access modes whose inputs
// are all cachable, are kept until the graph invalidates them (a write,
// InvalidateNode, InvalidateNodes, Poll, a command, a port write, a behaviour
// of the device connection notifying what it changed). Whoever changes device
// memory behind the map's back (direct ArvDevice or ArvGc calls, fake camera
// memory) calls InvalidateNodes, or NotifyChanged on the registers it changed.
//
// Locking: the map's recursive lock (NodeMapBase) guards every entry into
// ArvGc. Aravis's GenICam layer has no locking of its own, so code outside
// the map that touches this device's ArvGc or its features holds the map's
// lock (INodeMap::Lock or NodeMapBase::MapLock) meanwhile.
//
// Chunk and event data: Aravis cannot read through ports that carry a
// ChunkID or an EventID, so the map serves them itself from bytes the caller
// attaches (AttachChunkData, AttachEventData below). A register on such a port
// is decoded by the map (IntReg, MaskedIntReg, FloatReg, StringReg, Register:
// endianness, sign and bit field as the XML says); an Integer, Float or
// Enumeration whose pValue is such a register passes its value through. The
// port node, and every node reading through it, is NA while no data is
// attached for it; attaching or detaching notifies the port (NotifyChanged),
// so cached values and access modes of everything reading through it are
// dropped and its node callbacks fire.
//
// Device observer: one object (the DeviceConnection) may watch the device
// accesses the map makes: AfterWrite after every write that reached the
// device (a feature's register, a command, a port node's Write), BeforeRead
// before a node marked with WatchReads reads the device past its cache. Both
// run on the accessing thread with the map's lock held.
//
// Ownership: the map holds a reference on the ArvDevice (and so its ArvGc)
// for its whole life.
#ifndef ORVANE_GENAPI_ARV_NODE_MAP_H
#define ORVANE_GENAPI_ARV_NODE_MAP_H

#include <arv.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

#include "genapi/NodeMapBase.h"

namespace Orvane {
namespace GenApi {
namespace impl {

class XmlSideTable;
class ArvPortNode;
struct ArvLink;

class ArvNodeMap : public NodeMapBase {
public:
    // Builds the map of `device`'s GenICam document. Raises
    // ORVANE_ERR_GENICAM_PROPERTY when the device has no document, and
    // ORVANE_ERR_GENICAM_INVALID_ARGUMENT ("the GenICam XML of the device is
    // invalid: line N, in element <E>: <reason>", see XmlValidation.h) when
    // its XML text is not a well-formed description or Aravis could not
    // build a node tree from it.
    ArvNodeMap(ArvDevice* device, std::string deviceName);
    ~ArvNodeMap() override;

    ArvDevice* Device() const { return m_device; }
    ArvGc* Gc() const { return m_gc; }
    // The Orvane node over an Aravis node (hidden nodes included), or null.
    Node* NodeOf(ArvGcNode* node) const;

    // Chunk data -------------------------------------------------------------
    // Attaches the chunk data of one image (the acquisition calls it once per
    // image, before reading chunk features, e.g. for Image::GetChunkData).
    //
    // `data` holds `size` bytes laid out as GigE Vision chunk data: a sequence
    // of chunks, each [data][chunk ID (4 bytes)][data length (4 bytes)], ID and
    // length big-endian, the length counting the data bytes only (0 is
    // allowed). The layout is parsed once, here, from the end of the bytes
    // backwards; each chunk whose ID is the ChunkID of a port of the
    // description is indexed (a sorted table built with the map: no allocation
    // here). Chunk IDs the description does not know are skipped; when an ID
    // occurs twice, the chunk nearer the end wins. Lengths need not be
    // multiples of 4. Size 0 attaches "no chunks" (every chunk port NA).
    // Cost: one pass over the trailers plus one notification per chunk port
    // that held or now holds data (about 0.4 us for the virtual camera's 21
    // chunks); no allocation once the first attachment is done.
    //
    // The map keeps the pointer, not a copy: the bytes must stay valid and
    // unchanged until DetachChunkData, the next AttachChunkData or the map's
    // end. A new attachment replaces the previous one.
    //
    // Raises ORVANE_ERR_INVALID_BUFFER, with nothing attached afterwards, when
    // the layout is truncated (fewer than 8 bytes left for a trailer) or a
    // chunk's length runs past the start of the data; raises
    // ORVANE_ERR_INVALID_ARGUMENT for null data with a non-zero size.
    // Takes the map's lock; node callbacks of the chunk features fire when the
    // outermost lock is released. When several threads may attach, hold the
    // map's lock (NodeMapBase::MapLock) from the attachment to the last read
    // of a chunk feature, so that the values read are those of that image.
    void AttachChunkData(const void* data, size_t size);
    // Detaches the chunk data: every chunk port and its readers become NA.
    void DetachChunkData();
    // Whether chunk data is attached, and the data of one chunk in it (false
    // when absent or when the description has no port for that ID).
    bool HasChunkData() const;
    bool FindChunk(uint64_t chunkId, const uint8_t** data, size_t* size) const;
    // Whether the description has a chunk port for this ID.
    bool HasChunkPort(uint64_t chunkId) const;

    // Event data -------------------------------------------------------------
    // Attaches the payload of one device event: the event ports whose EventID
    // is `eventId` read `data` (offset 0 of the port is data[0]). The pointer
    // is kept (same lifetime rule as chunk data, until DetachEventData(eventId),
    // the next AttachEventData for that ID or the map's end); each event ID has
    // its own attachment. Raises ORVANE_ERR_INVALID_ARGUMENT for null data with
    // a non-zero size, ORVANE_ERR_INVALID_ID when the description has no port
    // for this event ID. Takes the map's lock.
    void AttachEventData(uint64_t eventId, const void* data, size_t size);
    void DetachEventData(uint64_t eventId);
    bool HasEventPort(uint64_t eventId) const;

    // Device observer ----------------------------------------------------------
    class DeviceObserver {
    public:
        virtual ~DeviceObserver() = default;
        // `length` bytes at `address` were written to the device by the map.
        virtual void AfterWrite(uint64_t address, uint64_t length) = 0;
        // A node marked with WatchReads is about to read the device.
        virtual void BeforeRead() = 0;
        // Why a port access of `length` bytes at `address` lies outside the
        // device's address space; "" when it lies inside (the default).
        virtual std::string PortRangeError(uint64_t, uint64_t, bool /*write*/) { return ""; }
    };
    // Sets (or, with null, removes) the observer; the observer must outlive
    // its registration. Takes the map's lock.
    void SetDeviceObserver(DeviceObserver* observer);
    DeviceObserver* Observer() const { return m_observer; }
    // Marks `node` and every node reading it, directly or not: their reads
    // past the value cache call the observer's BeforeRead first.
    void WatchReads(Node& node);

    // For the nodes: observer steps of one node's device access.
    void NotifyNodeWrite(const ArvLink& link);
    void NotifyNodeRead();

private:
    void Build(const XmlSideTable& side);
    // The ports serving one ID, in m_chunkPorts or m_eventPorts.
    std::pair<size_t, size_t> PortRange(const std::vector<ArvPortNode*>& ports, uint64_t id) const;
    // Clears every chunk port, notifying those that held data.
    void ClearChunkPorts();

    ArvDevice* m_device;
    ArvGc* m_gc;
    std::unordered_map<ArvGcNode*, Node*> m_byArv;
    std::vector<ArvPortNode*> m_chunkPorts; // sorted by chunk ID
    std::vector<ArvPortNode*> m_eventPorts; // sorted by event ID
    std::vector<char> m_chunkHadData;       // scratch for AttachChunkData, one per chunk port
    bool m_chunkAttached = false;
    DeviceObserver* m_observer = nullptr;
};

} // namespace impl
} // namespace GenApi
} // namespace Orvane

#endif
