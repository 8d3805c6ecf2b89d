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

#include "genapi/NodeMapBase.h"
#include "genapi/ValueNodes.h"

namespace Orvane {
namespace GenApi {
namespace impl {

// What every node over an Aravis feature node shares.
struct ArvLink {
    ArvGcFeatureNode* feature = nullptr;
    Node* valueNode = nullptr;      // the pValue target: its access mode limits this node's
    bool accessCacheable = false;   // the access mode may be kept until the graph invalidates it
    bool valueCacheable = false;    // the value may be kept until the graph invalidates it
};

// The GenApi access mode of an Aravis feature: NI when not implemented, NA
// when not available, else Aravis's RO/WO/RW (imposed mode included), RW
// lowered to RO (WO to NA) while locked, limited by the pValue target's mode.
EAccessMode ArvAccessMode(const ArvLink& link);

// Raises the SDK error for an Aravis failure on `node` and frees `error`.
[[noreturn]] void RaiseArvError(const Node& node, const char* function, GError* error);

// Lets the node map reach the link of any of its nodes.
class ArvLinked {
public:
    virtual ~ArvLinked() = default;
    virtual ArvLink& Link() = 0;
};

template <class Base>
class ArvNode : public Base, public ArvLinked {
public:
    template <class... A>
    explicit ArvNode(ArvGcFeatureNode* feature, A&&... args) : Base(std::forward<A>(args)...) {
        m_link.feature = feature;
    }
    ArvLink& Link() override { return m_link; }
    bool IsAccessModeCacheable() const override { return m_link.accessCacheable; }

protected:
    EAccessMode ComputeAccessMode() const override { return ArvAccessMode(m_link); }
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

private:
    ArvGcFloat* m_float;
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

// A port node: raw access to the device's address space. A write through it
// may change any feature, so it drops every cached value of the map.
class ArvPortNode : public ArvNode<Node>, public IPort {
public:
    ArvPortNode(NodeMapBase& map, NodeInfo info, ArvGcFeatureNode* feature);
    void Read(void* pBuffer, int64_t Address, int64_t Length) override;
    void Write(const void* pBuffer, int64_t Address, int64_t Length) override;
    EInterfaceType GetPrincipalInterfaceType() const override { return intfIPort; }

protected:
    EAccessMode ComputeAccessMode() const override;

private:
    ArvGcPort* m_port;
};

} // namespace impl
} // namespace GenApi
} // namespace Orvane

#endif
