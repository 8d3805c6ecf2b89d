// Nodes of a device node map, each over one feature node of Aravis's ArvGc.
// The typed bases (ValueNodes.h) give the GenApi semantics; these classes
// reach the value through Aravis and keep a value cache where the node's
// caching mode allows it (ArvNodeMap decides, from the XML and the
// dependency graph).
//
// Locking: every member runs under the node map's lock (the typed bases take
// it); Aravis's GenICam layer is never entered without it.
#ifndef ORVANE_GENAPI_ARV_NODES_H
#define ORVANE_GENAPI_ARV_NODES_H

#include <arv.h>

#include <string>
#include <utility>
#include <vector>

#include "genapi/ArvNodeMap.h"
#include "genapi/NodeMapBase.h"
#include "genapi/ValueNodes.h"

namespace Orvane {
namespace GenApi {
namespace impl {

class ArvPortNode;
class ArvNodeMap;

// How the bytes of a register on a chunk or event port encode its value
// (Aravis cannot read such ports: the map decodes them itself).
struct PortRegisterLayout {
    enum Kind : unsigned char { Integer, MaskedInteger, Float, String, Bytes };
    Kind kind = Bytes;
    bool bigEndian = false;
    bool isSigned = false;
    int lsb = -1; // MaskedInteger: the bit field, numbered as the XML numbers it
    int msb = -1;
};

// What every node over an Aravis feature node shares.
struct ArvLink {
    ArvGcFeatureNode* feature = nullptr;
    Node* valueNode = nullptr;    // the pValue target: its access mode limits this node's
    bool accessCacheable = false; // the access mode may be kept until the graph invalidates it
    bool valueCacheable = false;  // the value may be kept until the graph invalidates it
    // Chunk and event data (ArvNodeMap::AttachChunkData, AttachEventData).
    ArvPortNode* dataPort = nullptr; // a chunk or event port this node reads through: NA while it holds no data
    bool portRegister = false;       // a register on such a port: the map decodes it (portLayout)
    PortRegisterLayout portLayout;
    Node* servedBy = nullptr; // a pass-through node (Integer, Float, Enumeration) whose pValue is
                              // served by the map: its value is read from this node
    // Selected value targets (pIndex with pValueIndexed / pValueDefault): the
    // target the index selects now limits the node's access mode, and a
    // verified write is checked against it.
    Node* indexNode = nullptr;
    std::vector<std::pair<int64_t, Node*>> indexedTargets;
    Node* defaultTarget = nullptr;
    bool passThrough = false;    // an Integer or Float element whose value is its target's (bounds narrowed by it)
    bool lengthComputed = false; // a register whose length comes from pLength: checked before each access
    // The device observer (ArvNodeMap::SetDeviceObserver).
    std::vector<ArvGcRegister*> writeRegisters; // the registers a write of this node reaches
    bool watchReads = false;                    // reads past the cache call the observer's BeforeRead first
};

// The GenApi access mode of an Aravis feature: NI when not implemented, NA
// when not available or when it reads through a chunk or event port that holds
// no data, else Aravis's RO/WO/RW (imposed mode included), RW lowered to RO
// (WO to NA) while locked, limited by the pValue target's mode. NA when the
// map's device is lost.
EAccessMode ArvAccessMode(const ArvLink& link, const NodeMapBase& map);

// The length of a register as it evaluates now; raises
// ORVANE_ERR_GENICAM_PROPERTY when it lies outside 0..kMaxRegisterLength.
uint64_t CheckedRegisterLength(const Node& node, ArvGcFeatureNode* feature, const SourcePosition& at);

// The value target a node reaches now: its pValue, or the pValueIndexed
// target its pIndex selects (pValueDefault when none matches); null when it
// has none or the index cannot be read.
Node* SelectedTarget(const ArvLink& link);

// Raises the SDK error for an Aravis failure on `node` and frees `error`:
// ORVANE_ERR_DEVICE_LOST when the map's device is known lost by then, else
// the code of the Aravis error (a device that stopped answering:
// ORVANE_ERR_GENICAM_TIMEOUT, within the access's own timeout).
[[noreturn]] void RaiseArvError(const Node& node, const SourcePosition& at, GError* error);

// Lets the node map reach the link of any of its nodes.
class ArvLinked {
public:
    virtual ~ArvLinked() = default;
    virtual ArvLink& Link() = 0;
};

// Why a node reading through a chunk or event port is NA ("" when it is not).
std::string PortAbsence(const ArvLink& link);

template <class Base>
class ArvNode : public Base, public ArvLinked {
public:
    template <class... A>
    explicit ArvNode(ArvGcFeatureNode* feature, A&&... args) : Base(std::forward<A>(args)...) {
        m_link.feature = feature;
    }
    ArvLink& Link() override { return m_link; }
    bool IsAccessModeCacheable() const override { return m_link.accessCacheable; }
    std::string AccessDetail() const override { return PortAbsence(m_link); }
    // Values served from chunk or event data need no device.
    bool ReachesDevice() const override { return !m_link.dataPort; }

protected:
    // A lost device's nodes are NA (their properties would wait for it).
    EAccessMode ComputeAccessMode() const override { return ArvAccessMode(m_link, this->m_map); }
    // The map the node belongs to (Aravis nodes live in ArvNodeMaps only).
    ArvNodeMap& ArvMap() const;
    // Device observer steps around an access that reaches the device.
    void BeforeDeviceRead() const;
    void AfterDeviceWrite() const;
    ArvLink m_link;
};

class ArvIntegerNode : public ArvNode<IntegerNode> {
public:
    ArvIntegerNode(NodeMapBase& map, NodeInfo info, ArvGcFeatureNode* feature);
    bool IsValueCacheValid() const override { return m_valid; }
    void InvalidateCache() override;

protected:
    int64_t DoGetValue(bool ignoreCache) override;
    void DoSetValue(int64_t value) override;
    int64_t DoGetMin() override;
    int64_t DoGetMax() override;
    int64_t DoGetInc() override;
    ERepresentation DoGetRepresentation() override;
    std::string DoGetUnit() const override;
    void CheckThrough(int64_t value, const SourcePosition& at) override;

private:
    ArvGcInteger* m_integer;
    int64_t m_cache = 0;
    bool m_valid = false;
};

class ArvFloatNode : public ArvNode<FloatNode> {
public:
    ArvFloatNode(NodeMapBase& map, NodeInfo info, ArvGcFeatureNode* feature);
    bool IsValueCacheValid() const override { return m_valid; }
    void InvalidateCache() override;

protected:
    double DoGetValue(bool ignoreCache) override;
    void DoSetValue(double value) override;
    double DoGetMin() override;
    double DoGetMax() override;
    bool DoHasInc() override;
    double DoGetInc() override;
    ERepresentation DoGetRepresentation() const override;
    std::string DoGetUnit() const override;
    EDisplayNotation DoGetDisplayNotation() const override;
    int64_t DoGetDisplayPrecision() const override;
    void CheckThrough(double value, const SourcePosition& at) override;

public:
    // Whether the XML gives the node an increment (<Inc>, <pInc>); set once
    // while the map is built.
    void SetHasIncrement(bool has) { m_hasInc = has; }

private:
    ArvGcFloat* m_float;
    bool m_hasInc = false;
    double m_cache = 0.0;
    bool m_valid = false;
};

class ArvStringNode : public ArvNode<StringNode> {
public:
    ArvStringNode(NodeMapBase& map, NodeInfo info, ArvGcFeatureNode* feature);
    bool IsValueCacheValid() const override { return m_valid; }
    void InvalidateCache() override;

protected:
    std::string DoGetValue(bool ignoreCache) override;
    void DoSetValue(const std::string& value) override;
    int64_t DoGetMaxLength() override;

private:
    ArvGcString* m_string;
    std::string m_cache;
    bool m_valid = false;
};

class ArvBooleanNode : public ArvNode<BooleanNode> {
public:
    ArvBooleanNode(NodeMapBase& map, NodeInfo info, ArvGcFeatureNode* feature);
    bool IsValueCacheValid() const override { return m_valid; }
    void InvalidateCache() override;

protected:
    bool DoGetValue(bool ignoreCache) const override;
    void DoSetValue(bool value) override;

private:
    ArvGcBoolean* m_boolean;
    mutable bool m_cache = false;
    mutable bool m_valid = false;
};

class ArvCommandNode : public ArvNode<CommandNode> {
public:
    // commandValue: the node's CommandValue or pCommandValue property (may be null).
    ArvCommandNode(NodeMapBase& map, NodeInfo info, ArvGcFeatureNode* feature, ArvGcPropertyNode* commandValue);

protected:
    void DoExecute() override;
    // Done when the pValue register cannot be read, or reads back something
    // other than the command value (read past every cache).
    bool DoIsDone() override;

private:
    ArvGcCommand* m_command;
    ArvGcPropertyNode* m_commandValue;
};

class ArvEnumerationNode : public ArvNode<EnumerationNode> {
public:
    ArvEnumerationNode(NodeMapBase& map, NodeInfo info, ArvGcFeatureNode* feature);
    bool IsValueCacheValid() const override { return m_valid; }
    void InvalidateCache() override;

protected:
    int64_t DoGetIntValue(bool ignoreCache) override;
    void DoSetIntValue(int64_t value) override;

private:
    ArvGcEnumeration* m_enumeration;
    int64_t m_cache = 0;
    bool m_valid = false;
};

class ArvEnumEntryNode : public ArvNode<EnumEntryNode> {
public:
    ArvEnumEntryNode(NodeMapBase& map, NodeInfo info, ArvGcFeatureNode* feature, std::string symbolic, int64_t value);
};

class ArvCategoryNode : public ArvNode<CategoryNode> {
public:
    ArvCategoryNode(NodeMapBase& map, NodeInfo info, ArvGcFeatureNode* feature);
};

class ArvRegisterNode : public ArvNode<RegisterNode> {
public:
    ArvRegisterNode(NodeMapBase& map, NodeInfo info, ArvGcFeatureNode* feature);

protected:
    void DoGet(uint8_t* buffer, int64_t length, bool ignoreCache) override;
    void DoSet(const uint8_t* buffer, int64_t length) override;
    int64_t DoGetLength() override;
    int64_t DoGetAddress() override;

private:
    ArvGcRegister* m_register;
};

// A port node. A device port gives raw access to the device's address space;
// a write through it may change any feature, so it drops every cached value of
// the map. A chunk port (ChunkID) or an event port (EventID) reads the data
// the map attached for its ID (ArvNodeMap::AttachChunkData, AttachEventData):
// RO while data is attached, NA otherwise; never writable.
class ArvPortNode : public ArvNode<Node>, public IPort {
public:
    enum class Source : unsigned char { Device, Chunk, Event };

    ArvPortNode(NodeMapBase& map, NodeInfo info, ArvGcFeatureNode* feature);
    void Read(void* pBuffer, int64_t Address, int64_t Length) override;
    void Write(const void* pBuffer, int64_t Address, int64_t Length) override;
    EInterfaceType GetPrincipalInterfaceType() const override { return intfIPort; }
    std::string AccessDetail() const override { return Absence(); }

    // Data source (set once, while the map is built).
    void SetSource(Source source, uint64_t id, const bool* attached) {
        m_source = source;
        m_id = id;
        m_attached = attached;
    }
    Source DataSource() const { return m_source; }
    uint64_t DataId() const { return m_id; }
    // The attached bytes (valid while HasData()); changed by the map only.
    bool HasData() const { return m_hasData; }
    const uint8_t* Data() const { return m_data; }
    size_t DataSize() const { return m_size; }
    void SetData(const uint8_t* data, size_t size) {
        m_data = data;
        m_size = size;
        m_hasData = true;
    }
    void ClearData() {
        m_data = nullptr;
        m_size = 0;
        m_hasData = false;
    }
    // Why the port holds no data ("" when it does, or for a device port).
    std::string Absence() const;
    // Copies `length` bytes at `address` of the attached data, or raises
    // (NA: ORVANE_ERR_GENICAM_ACCESS; outside the data: ORVANE_ERR_INVALID_BUFFER).
    // `reader` names the node in the error.
    void ReadData(const Node& reader, uint8_t* out, uint64_t address, uint64_t length) const;

protected:
    EAccessMode ComputeAccessMode() const override;

private:
    ArvGcPort* m_port;
    Source m_source = Source::Device;
    uint64_t m_id = 0;
    const bool* m_attached = nullptr; // the map's "chunk data attached" flag (chunk ports)
    const uint8_t* m_data = nullptr;
    size_t m_size = 0;
    bool m_hasData = false;
};

template <class Base>
ArvNodeMap& ArvNode<Base>::ArvMap() const {
    return static_cast<ArvNodeMap&>(this->m_map);
}

template <class Base>
void ArvNode<Base>::BeforeDeviceRead() const {
    if (m_link.watchReads) ArvMap().NotifyNodeRead();
}

template <class Base>
void ArvNode<Base>::AfterDeviceWrite() const {
    if (!m_link.writeRegisters.empty() && ArvMap().Observer()) ArvMap().NotifyNodeWrite(m_link);
}

} // namespace impl
} // namespace GenApi
} // namespace Orvane

#endif
