// Node: the base of every node of an Orvane node map. It holds the node's
// descriptive data, computes the GenApi access mode (the node's own access
// combined with the imposed one), keeps the callbacks registered on it and the
// links to the nodes it depends on.
#ifndef ORVANE_GENAPI_NODE_H
#define ORVANE_GENAPI_NODE_H

#include <string>
#include <vector>

#include "Orvane/GenApi/GenApi.h"
#include "core/Raise.h"

namespace Orvane {
namespace GenApi {
namespace impl {

class NodeMapBase;

// Descriptive data of a node, as a node map's description gives it.
struct NodeInfo {
    std::string name;
    ENameSpace nameSpace = Custom;
    EVisibility visibility = Beginner;
    std::string toolTip;
    std::string description;
    std::string displayName; // the name when empty
    std::string docuURL;
    std::string eventID;
    ECachingMode cachingMode = NoCache;
    int64_t pollingTime = -1;
    bool deprecated = false;
    bool streamable = false;
    bool feature = true; // false for nodes that only serve other nodes
};

// GenApi's combination of two access modes: the more restrictive wins, and
// RO combined with WO gives NA.
EAccessMode CombineAccess(EAccessMode a, EAccessMode b);

class Node : public virtual INode {
public:
    Node(NodeMapBase& map, NodeInfo info);
    ~Node() override;

    // IBase
    EAccessMode GetAccessMode() const override;

    // INode
    GenICam::gcstring GetName(bool FullQualified = false) const override;
    ENameSpace GetNameSpace() const override;
    EVisibility GetVisibility() const override;
    void InvalidateNode() override;
    bool IsCachable() const override;
    bool IsAccessModeCacheable() const override;
    ECachingMode GetCachingMode() const override;
    int64_t GetPollingTime() const override;
    GenICam::gcstring GetToolTip() const override;
    GenICam::gcstring GetDescription() const override;
    GenICam::gcstring GetDisplayName() const override;
    GenICam::gcstring GetDeviceName() const override;
    void GetChildren(node_vector& Children, ELinkType LinkType = ctReadingChildren) const override;
    void GetParents(node_vector& Parents, ELinkType LinkType = ctParentNodes) const override;
    CallbackHandleType RegisterCallback(CNodeCallback* pCallback) override;
    bool DeregisterCallback(CallbackHandleType hCallback) override;
    INodeMap* GetNodeMap() const override;
    GenICam::gcstring GetEventID() const override;
    bool IsStreamable() const override;
    void GetPropertyNames(gcstring_vector& PropertyNames) const override;
    bool GetProperty(const GenICam::gcstring& PropertyName, GenICam::gcstring& ValueStr,
                     GenICam::gcstring& AttributeStr) const override;
    void ImposeAccessMode(EAccessMode ImposedAccessMode) override;
    void ImposeVisibility(EVisibility ImposedVisibility) override;
    INode* GetAlias() const override;
    INode* GetCastAlias() const override;
    GenICam::gcstring GetDocuURL() const override;
    bool IsDeprecated() const override;
    bool IsFeature() const override;
    bool IsSelector() const override;
    void GetSelectedFeatures(value_vector& Features) const override;
    void GetSelectingFeatures(value_vector& Features) const override;

    // Links: `this` depends on `other` (reads it, or is made available or
    // limited by it), so a change of `other` affects `this`.
    void AddDependency(Node& other, ELinkType kind = ctReadingChildren);
    // `this` selects `selected` (GenICam pSelected).
    void AddSelected(Node& selected);
    const std::vector<Node*>& Dependents() const { return m_dependents; }
    const std::vector<Node*>& Dependencies() const { return m_dependsOn; }
    // A write to `this` also writes `target` (the node its value goes
    // through, e.g. an Integer's pValue register), so a change of `this` is a
    // change of `target` too.
    void AddWriteTarget(Node& target);
    const std::vector<Node*>& WriteTargets() const { return m_writes; }

    // Drops cached state (value, access mode); called for every node a change
    // reaches. Subclasses with caches extend it.
    virtual void InvalidateCache();

    // Runs the callbacks of this node registered with `type`.
    void FireCallbacks(ECallbackType type);
    bool HasCallback(CallbackHandleType handle) const;
    void FireCallback(CallbackHandleType handle);
    bool HasCallbacks() const { return !m_callbacks.empty(); }
    // Appends the handles of the callbacks registered with `type`.
    void CallbackHandles(ECallbackType type, std::vector<CallbackHandleType>& out) const;

    NodeMapBase& Map() const { return m_map; }
    const NodeInfo& Info() const { return m_info; }
    NodeInfo& MutableInfo() { return m_info; }

    // Raises an SDK exception naming this node: "<Name>: <message>".
    [[noreturn]] void Fail(const SourcePosition& at, int code, const std::string& message) const;
    // Raises ORVANE_ERR_GENICAM_ACCESS unless the node is readable/writable
    // now; ORVANE_ERR_DEVICE_LOST (CheckDevice) first when the map's device
    // is lost.
    void CheckReadable(const SourcePosition& at) const;
    void CheckWritable(const SourcePosition& at) const;
    // Raises ORVANE_ERR_DEVICE_LOST when the node reaches the device and the
    // map's device is lost (NodeMapBase::DeviceLost), with the map's loss
    // message; `detail` (e.g. the failed access's error) is appended.
    void CheckDevice(const SourcePosition& at, const std::string& detail = std::string()) const;
    // Whether the node's value comes from the device. Nodes served from chunk
    // or event data do not: they keep working after the device is lost.
    virtual bool ReachesDevice() const { return true; }
    // Why the node is not available, when it can tell more than its access
    // mode (e.g. the chunk its value comes from is missing); "" otherwise.
    // Appended to the access errors above.
    virtual std::string AccessDetail() const { return ""; }

protected:
    // The node's own access mode, before imposition. NI and NA come from here.
    virtual EAccessMode ComputeAccessMode() const = 0;

    NodeMapBase& m_map;
    NodeInfo m_info;

private:
    struct Registration {
        CallbackHandleType handle;
        CNodeCallback* callback;
    };

    EAccessMode m_imposedAccess = RW;
    EVisibility m_imposedVisibility = Beginner;
    mutable EAccessMode m_cachedAccess = _UndefinedAccesMode;
    std::vector<Registration> m_callbacks;
    std::vector<Node*> m_dependsOn; // reading, invalidating links
    std::vector<ELinkType> m_dependsOnKind;
    std::vector<Node*> m_dependents; // reverse of m_dependsOn
    std::vector<Node*> m_selected;
    std::vector<Node*> m_selecting;
    std::vector<Node*> m_writes; // nodes a write of this node writes through
};

} // namespace impl
} // namespace GenApi
} // namespace Orvane

#define ORV_NODE_FAIL(code, message) Fail(ORV_HERE, (code), (message))

#endif
