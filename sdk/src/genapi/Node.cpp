#include "genapi/Node.h"

#include <algorithm>
#include <atomic>

#include "core/Raise.h"
#include "genapi/NodeMapBase.h"
#include "logging/LogRateLimiter.h"

namespace Orvane {
namespace GenApi {
namespace impl {

namespace {
std::atomic<CallbackHandleType> g_nextCallbackHandle{1};

int Rank(EAccessMode m) {
    switch (m) {
    case NI: return 0;
    case NA: return 1;
    default: return 2;
    }
}
} // namespace

EAccessMode CombineAccess(EAccessMode a, EAccessMode b) {
    if (a == _UndefinedAccesMode) return b;
    if (b == _UndefinedAccesMode) return a;
    if (Rank(a) < 2 || Rank(b) < 2) return Rank(a) <= Rank(b) ? a : b;
    if (a == RW) return b;
    if (b == RW) return a;
    return a == b ? a : NA; // RO with WO
}

Node::Node(NodeMapBase& map, NodeInfo info) : m_map(map), m_info(std::move(info)) {}
Node::~Node() = default;

EAccessMode Node::GetAccessMode() const {
    if (m_map.DeviceLost() && ReachesDevice()) return NA; // a lost device's nodes, cached mode or not
    NodeMapBase::MapLock lock(m_map);
    if (m_cachedAccess != _UndefinedAccesMode) return m_cachedAccess;
    const EAccessMode mode = CombineAccess(ComputeAccessMode(), m_imposedAccess);
    if (IsAccessModeCacheable()) m_cachedAccess = mode;
    return mode;
}

GenICam::gcstring Node::GetName(bool FullQualified) const {
    if (!FullQualified) return m_info.name;
    return (m_info.nameSpace == Standard ? "Std::" : "Cust::") + m_info.name;
}
ENameSpace Node::GetNameSpace() const { return m_info.nameSpace; }
EVisibility Node::GetVisibility() const {
    return static_cast<EVisibility>(std::max<int>(m_info.visibility, m_imposedVisibility));
}

void Node::InvalidateNode() {
    NodeMapBase::MapLock lock(m_map);
    m_map.NotifyChanged(*this);
}

bool Node::IsCachable() const { return m_info.cachingMode != NoCache; }
bool Node::IsAccessModeCacheable() const { return false; }
ECachingMode Node::GetCachingMode() const { return m_info.cachingMode; }
int64_t Node::GetPollingTime() const { return m_info.pollingTime; }
GenICam::gcstring Node::GetToolTip() const { return m_info.toolTip; }
GenICam::gcstring Node::GetDescription() const {
    return m_info.description.empty() ? m_info.toolTip : m_info.description;
}
GenICam::gcstring Node::GetDisplayName() const { return m_info.displayName.empty() ? m_info.name : m_info.displayName; }
GenICam::gcstring Node::GetDeviceName() const { return m_map.GetDeviceName(); }

void Node::GetChildren(node_vector& Children, ELinkType LinkType) const {
    NodeMapBase::MapLock lock(m_map);
    Children.clear();
    // Hidden nodes (NodeMapBase::AddHidden) are never handed out.
    auto add = [&](Node* n) {
        if (m_map.NodeFromBase(n)) Children.push_back(n);
    };
    if (LinkType == ctDependingNodes) {
        for (Node* n : m_dependents) add(n);
        return;
    }
    if (LinkType == ctWritingChildren) {
        for (Node* n : m_writes) add(n);
        return;
    }
    for (size_t i = 0; i < m_dependsOn.size(); ++i)
        if (LinkType == ctReadingChildren || LinkType == ctTerminalNodes || m_dependsOnKind[i] == LinkType)
            add(m_dependsOn[i]);
}

void Node::GetParents(node_vector& Parents, ELinkType) const {
    NodeMapBase::MapLock lock(m_map);
    Parents.clear();
    for (Node* n : m_dependents)
        if (m_map.NodeFromBase(n)) Parents.push_back(n);
}

CallbackHandleType Node::RegisterCallback(CNodeCallback* pCallback) {
    if (!pCallback) ORV_NODE_FAIL(ORVANE_ERR_GENICAM_INVALID_ARGUMENT, "the callback is null");
    NodeMapBase::MapLock lock(m_map);
    const CallbackHandleType handle = g_nextCallbackHandle++;
    m_callbacks.push_back({handle, pCallback});
    return handle;
}

bool Node::DeregisterCallback(CallbackHandleType hCallback) {
    {
        NodeMapBase::MapLock lock(m_map);
        auto it = std::find_if(m_callbacks.begin(), m_callbacks.end(),
                               [&](const Registration& r) { return r.handle == hCallback; });
        if (it == m_callbacks.end())
            ORV_NODE_FAIL(ORVANE_ERR_GENICAM_INVALID_ARGUMENT,
                          "no callback is registered on this node under handle " + std::to_string(hCallback));
        m_callbacks.erase(it);
    }
    // Another thread may be inside this callback right now (outside-lock
    // callbacks run after the lock is released): let it finish, so that the
    // caller may destroy the callback once this returns.
    m_map.WaitCallbackIdle(hCallback);
    return true;
}

INodeMap* Node::GetNodeMap() const { return &m_map; }
GenICam::gcstring Node::GetEventID() const { return m_info.eventID; }
bool Node::IsStreamable() const { return m_info.streamable; }

void Node::GetPropertyNames(gcstring_vector& PropertyNames) const {
    PropertyNames.clear();
    for (const char* p : {"Name", "NameSpace", "Visibility", "ToolTip", "Description", "DisplayName"})
        PropertyNames.push_back(p);
}

bool Node::GetProperty(const GenICam::gcstring& name, GenICam::gcstring& value, GenICam::gcstring& attribute) const {
    attribute = "";
    if (name == "Name")
        value = m_info.name;
    else if (name == "NameSpace")
        value = m_info.nameSpace == Standard ? "Standard" : "Custom";
    else if (name == "Visibility")
        value = VisibilityName(m_info.visibility);
    else if (name == "ToolTip")
        value = m_info.toolTip;
    else if (name == "Description")
        value = m_info.description;
    else if (name == "DisplayName")
        value = m_info.displayName;
    else
        return false;
    return true;
}

void Node::ImposeAccessMode(EAccessMode mode) {
    if (mode < NI || mode > RW)
        ORV_NODE_FAIL(ORVANE_ERR_GENICAM_INVALID_ARGUMENT, "invalid access mode " + std::to_string(mode));
    NodeMapBase::MapLock lock(m_map);
    m_imposedAccess = mode;
    m_map.NotifyChanged(*this);
}

void Node::ImposeVisibility(EVisibility visibility) {
    if (visibility < Beginner || visibility > Invisible)
        ORV_NODE_FAIL(ORVANE_ERR_GENICAM_INVALID_ARGUMENT, "invalid visibility " + std::to_string(visibility));
    m_imposedVisibility = visibility;
}

INode* Node::GetAlias() const { return nullptr; }
INode* Node::GetCastAlias() const { return nullptr; }
GenICam::gcstring Node::GetDocuURL() const { return m_info.docuURL; }
bool Node::IsDeprecated() const { return m_info.deprecated; }
bool Node::IsFeature() const { return m_info.feature; }
bool Node::IsSelector() const { return !m_selected.empty(); }

void Node::GetSelectedFeatures(value_vector& Features) const {
    Features.clear();
    for (Node* n : m_selected)
        if (auto* v = dynamic_cast<IValue*>(n)) Features.push_back(v);
}

void Node::GetSelectingFeatures(value_vector& Features) const {
    Features.clear();
    for (Node* n : m_selecting)
        if (auto* v = dynamic_cast<IValue*>(n)) Features.push_back(v);
}

void Node::AddDependency(Node& other, ELinkType kind) {
    if (&other == this) return;
    for (size_t i = 0; i < m_dependsOn.size(); ++i)
        if (m_dependsOn[i] == &other && m_dependsOnKind[i] == kind) return;
    m_dependsOn.push_back(&other);
    m_dependsOnKind.push_back(kind);
    if (std::find(other.m_dependents.begin(), other.m_dependents.end(), this) == other.m_dependents.end())
        other.m_dependents.push_back(this);
    m_map.InvalidateDependencyGraph();
}

void Node::AddSelected(Node& selected) {
    if (std::find(m_selected.begin(), m_selected.end(), &selected) != m_selected.end()) return;
    m_selected.push_back(&selected);
    selected.m_selecting.push_back(this);
    // A selector's change changes what its selected features show.
    selected.AddDependency(*this, ctInvalidatingChildren);
}

void Node::AddWriteTarget(Node& target) {
    if (&target == this || std::find(m_writes.begin(), m_writes.end(), &target) != m_writes.end()) return;
    m_writes.push_back(&target);
    m_map.InvalidateDependencyGraph();
}

void Node::InvalidateCache() { m_cachedAccess = _UndefinedAccesMode; }

namespace {
// A callback's failure is logged (one record a second per node at most: a
// callback failing on every change must not flood the log) and stops
// nothing: the change it reports has already happened.
void Invoke(const CNodeCallback& callback, ECallbackType type, const std::string& node) {
    try {
        callback(type);
    } catch (const std::exception& e) {
        ORV_LOG_RATE_LIMITED(internal::kLogCategoryGenApi, LOG_LEVEL_ERROR, "node-callback:" + node,
                             "node callback of " + node + " failed: " + e.what());
    } catch (...) {
        ORV_LOG_RATE_LIMITED(internal::kLogCategoryGenApi, LOG_LEVEL_ERROR, "node-callback:" + node,
                             "node callback of " + node + " failed");
    }
}
} // namespace

void Node::FireCallbacks(ECallbackType type) {
    if (m_callbacks.empty()) return;
    const std::vector<Registration> callbacks = m_callbacks; // a callback may deregister
    for (const auto& r : callbacks)
        if (r.callback->GetCallbackType() == type && HasCallback(r.handle)) Invoke(*r.callback, type, m_info.name);
}

void Node::CallbackHandles(ECallbackType type, std::vector<CallbackHandleType>& out) const {
    for (const auto& r : m_callbacks)
        if (r.callback->GetCallbackType() == type) out.push_back(r.handle);
}

bool Node::HasCallback(CallbackHandleType handle) const {
    for (const auto& r : m_callbacks)
        if (r.handle == handle) return true;
    return false;
}

void Node::FireCallback(CallbackHandleType handle) {
    CNodeCallback* cb = nullptr;
    {
        NodeMapBase::MapLock lock(m_map);
        for (const auto& r : m_callbacks)
            if (r.handle == handle) cb = r.callback;
        if (cb) m_map.BeginCallback(handle); // before the lock goes: DeregisterCallback then waits for it
    }
    if (!cb) return;
    struct End {
        NodeMapBase& map;
        CallbackHandleType handle;
        ~End() { map.EndCallback(handle); }
    } end{m_map, handle};
    Invoke(*cb, cb->GetCallbackType(), m_info.name);
}

void Node::Fail(const SourcePosition& at, int code, const std::string& message) const {
    Raise(at, code, m_info.name + ": " + message);
}

void Node::CheckDevice(const SourcePosition& at, const std::string& detail) const {
    if (!m_map.DeviceLost() || !ReachesDevice()) return;
    Fail(at, ORVANE_ERR_DEVICE_LOST,
         m_map.DeviceLostMessage() + (detail.empty() ? std::string() : "; the access failed: " + detail));
}

void Node::CheckReadable(const SourcePosition& at) const {
    CheckDevice(at);
    const EAccessMode mode = GetAccessMode();
    if (mode == RO || mode == RW) return;
    CheckDevice(at); // found lost while the mode was evaluated
    const std::string detail = mode == NA ? AccessDetail() : std::string();
    Fail(at, ORVANE_ERR_GENICAM_ACCESS,
         std::string("the node is not readable (access mode ") + AccessModeName(mode) + ")" +
             (detail.empty() ? "" : ": " + detail));
}

void Node::CheckWritable(const SourcePosition& at) const {
    CheckDevice(at);
    const EAccessMode mode = GetAccessMode();
    if (mode == WO || mode == RW) return;
    CheckDevice(at); // found lost while the mode was evaluated
    const std::string detail = mode == NA ? AccessDetail() : std::string();
    Fail(at, ORVANE_ERR_GENICAM_ACCESS,
         std::string("the node is not writable (access mode ") + AccessModeName(mode) + ")" +
             (detail.empty() ? "" : ": " + detail));
}

} // namespace impl
} // namespace GenApi
} // namespace Orvane
