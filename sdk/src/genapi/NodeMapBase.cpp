#include "genapi/NodeMapBase.h"

#include <algorithm>
#include <cstdio>

#include "core/Raise.h"
#include "genapi/Node.h"

namespace Orvane {
namespace GenApi {
namespace impl {

NodeMapBase::NodeMapBase(std::string deviceName) : m_deviceName(std::move(deviceName)) {}
NodeMapBase::~NodeMapBase() = default;

void NodeMapBase::AddNode(std::unique_ptr<Node> node, bool hidden) {
    MapLock lock(*this);
    const std::string& name = node->Info().name;
    Node* raw = node.get();
    if (!hidden) {
        if (m_byName.count(name))
            ORV_RAISE(ORVANE_ERR_GENICAM_PROPERTY, "node map " + m_deviceName + ": duplicate node " + name);
        m_byName.emplace(name, raw);
        m_byBase.emplace(static_cast<const IBase*>(raw), raw);
        m_order.push_back(raw);
    }
    m_nodes.push_back(std::move(node));
    m_graphValid = false;
}

void NodeMapBase::GetNodes(NodeList_t& Nodes) const {
    MapLock lock(*this);
    Nodes.clear();
    Nodes.reserve(m_order.size());
    for (Node* n : m_order) Nodes.push_back(n);
}

INode* NodeMapBase::GetNode(const GenICam::gcstring& Name) const { return FindNode(Name.str()); }

Node* NodeMapBase::FindNode(const std::string& name) const {
    // The name index is only written while nodes are added, before the map is
    // handed out, so lookups need no lock.
    auto it = m_byName.find(name);
    return it == m_byName.end() ? nullptr : it->second;
}

Node* NodeMapBase::NodeFromBase(const IBase* p) const {
    auto it = m_byBase.find(p);
    return it == m_byBase.end() ? nullptr : it->second;
}

size_t NodeMapBase::GetNumNodes() const { return m_order.size(); }

void NodeMapBase::InvalidateNodes() const {
    MapLock lock(*this);
    for (const auto& n : m_nodes) n->InvalidateCache();
}

namespace {

// A polled node's value, exactly (floats by their bits, registers byte by
// byte), for comparing two polls; from the cache unless `ignoreCache`. A node
// that cannot be read gives a text no value has (its access mode), so that
// becoming readable or unreadable counts as a change.
std::string PolledValue(Node& node, bool ignoreCache) {
    const EAccessMode mode = node.GetAccessMode();
    if (mode != RO && mode != RW) return std::string("\x01") + AccessModeName(mode);
    try {
        if (auto* i = dynamic_cast<IInteger*>(&node)) return std::to_string(i->GetValue(false, ignoreCache));
        if (auto* f = dynamic_cast<IFloat*>(&node)) {
            const double v = f->GetValue(false, ignoreCache);
            char bits[32];
            std::snprintf(bits, sizeof bits, "%a", v);
            return bits;
        }
        if (auto* e = dynamic_cast<IEnumeration*>(&node)) return std::to_string(e->GetIntValue(false, ignoreCache));
        if (auto* v = dynamic_cast<IValue*>(&node)) return v->ToString(false, ignoreCache).str();
    } catch (const std::exception&) {
        return "\x01error"; // the failure was logged where it was raised
    }
    return "";
}

} // namespace

void NodeMapBase::Poll(int64_t ElapsedTime) {
    MapLock lock(*this);
    for (const auto& owned : m_nodes) {
        Node* n = owned.get();
        const int64_t period = n->GetPollingTime();
        if (period < 0) continue;
        PollState& state = m_poll[n];
        state.elapsed += ElapsedTime > 0 ? ElapsedTime : 0;
        if (state.elapsed < period) continue;
        state.elapsed = 0;
        // What was seen last: the value cache, else the last poll's value.
        bool seen = state.known;
        std::string before = state.value;
        auto* value = dynamic_cast<IValue*>(n);
        if (value && value->IsValueCacheValid()) {
            before = PolledValue(*n, false);
            seen = true;
        }
        // Past every cache: the access mode too may have changed on the device.
        n->InvalidateCache();
        state.value = PolledValue(*n, true);
        state.known = true;
        if (!seen || before != state.value) NotifyChanged(*n);
    }
}

GenICam::gcstring NodeMapBase::GetDeviceName() { return m_deviceName; }

void NodeMapBase::Lock() const {
    m_mutex.lock();
    if (++m_depth == 1) m_owner.store(std::this_thread::get_id());
}

bool NodeMapBase::TryLock() const {
    if (!m_mutex.try_lock()) return false;
    if (++m_depth == 1) m_owner.store(std::this_thread::get_id());
    return true;
}

void NodeMapBase::BeginCallback(CallbackHandleType handle) {
    std::lock_guard<std::mutex> lock(m_flightMutex);
    m_inFlight.push_back({handle, std::this_thread::get_id()});
}

void NodeMapBase::EndCallback(CallbackHandleType handle) {
    {
        std::lock_guard<std::mutex> lock(m_flightMutex);
        const std::thread::id self = std::this_thread::get_id();
        for (auto it = m_inFlight.begin(); it != m_inFlight.end(); ++it)
            if (it->handle == handle && it->thread == self) {
                m_inFlight.erase(it);
                break;
            }
    }
    m_flightDone.notify_all();
}

void NodeMapBase::WaitCallbackIdle(CallbackHandleType handle) {
    if (HeldByThisThread()) return;
    const std::thread::id self = std::this_thread::get_id();
    std::unique_lock<std::mutex> lock(m_flightMutex);
    m_flightDone.wait(lock, [&] {
        for (const InFlight& f : m_inFlight)
            if (f.handle == handle && f.thread != self) return false;
        return true;
    });
}

void NodeMapBase::Unlock() const { Release(); }

NodeMapBase::MapLock::MapLock(const NodeMapBase& map) : m_map(map) { m_map.Lock(); }
NodeMapBase::MapLock::~MapLock() { m_map.Release(); }

void NodeMapBase::Release() const {
    if (--m_depth == 0) m_owner.store(std::thread::id());
    if (m_depth > 0 || m_pending.empty()) {
        m_mutex.unlock();
        return;
    }
    std::vector<PendingCallback> pending;
    pending.swap(m_pending);
    m_mutex.unlock();
    for (const auto& p : pending) p.node->FireCallback(p.handle);
}

void NodeMapBase::InvalidateDependencyGraph() { m_graphValid = false; }

const std::vector<Node*>& NodeMapBase::Closure(Node& node) {
    if (!m_graphValid) {
        m_closures.clear();
        m_graphValid = true;
    }
    auto it = m_closures.find(&node);
    if (it != m_closures.end()) return it->second;
    std::vector<Node*> closure{&node};
    std::unordered_set<Node*> seen{&node};
    for (Node* w : node.WriteTargets())
        if (seen.insert(w).second) closure.push_back(w);
    for (size_t i = 0; i < closure.size(); ++i)
        for (Node* d : closure[i]->Dependents())
            if (seen.insert(d).second) closure.push_back(d);
    return m_closures.emplace(&node, std::move(closure)).first->second;
}

void NodeMapBase::NotifyChanged(Node& node) {
    const std::vector<Node*>& closure = Closure(node);
    bool callbacks = false;
    for (Node* n : closure) {
        n->InvalidateCache();
        callbacks = callbacks || n->HasCallbacks();
    }
    if (!callbacks) return;
    const std::vector<Node*> reached = closure; // inside-lock callbacks may change the graph
    std::vector<CallbackHandleType> handles;
    for (Node* n : reached) {
        if (!n->HasCallbacks()) continue;
        n->FireCallbacks(cb_PostInsideLock);
        handles.clear();
        n->CallbackHandles(cb_PostOutsideLock, handles);
        for (CallbackHandleType h : handles) {
            const bool queued = std::any_of(m_pending.begin(), m_pending.end(),
                                            [&](const PendingCallback& p) { return p.node == n && p.handle == h; });
            if (!queued) m_pending.push_back({n, h});
        }
    }
}

} // namespace impl
} // namespace GenApi
} // namespace Orvane
