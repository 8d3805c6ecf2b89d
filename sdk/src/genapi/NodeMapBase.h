// NodeMapBase: what every Orvane node map shares, whatever feeds its nodes
// (native SDK state for transport-layer maps, Aravis's ArvGc for devices).
//
// Ownership: the map owns its nodes; node pointers stay valid for the map's
// lifetime. Lookup by name is one hash lookup.
//
// Locking: one recursive mutex per map, taken by every node operation through
// MapLock. Node callbacks of kind cb_PostInsideLock run while the changing
// thread holds the lock; those of kind cb_PostOutsideLock are queued and run
// on that thread when its outermost MapLock is released.
#ifndef ORVANE_GENAPI_NODE_MAP_BASE_H
#define ORVANE_GENAPI_NODE_MAP_BASE_H

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "Orvane/GenApi/GenApi.h"

namespace Orvane {
namespace GenApi {
namespace impl {

class Node;

class NodeMapBase : public INodeMap {
public:
    explicit NodeMapBase(std::string deviceName);
    ~NodeMapBase() override;
    NodeMapBase(const NodeMapBase&) = delete;
    NodeMapBase& operator=(const NodeMapBase&) = delete;

    // INodeMap
    void GetNodes(NodeList_t& Nodes) const override;
    INode* GetNode(const GenICam::gcstring& Name) const override;
    size_t GetNumNodes() const override;
    void InvalidateNodes() const override;
    // Adds ElapsedTime to every polled node's time (nodes with a polling time
    // of 0 or more); each node whose time reaches its polling time is read
    // past its cache, and only when its value differs from the one seen last
    // (its value cache, else the last poll's; a first poll with neither
    // counts as a change) is it notified (NotifyChanged: its dependents'
    // caches dropped, callbacks fired after the lock is released).
    void Poll(int64_t ElapsedTime) override;
    GenICam::gcstring GetDeviceName() override;
    void Lock() const override;
    bool TryLock() const override;
    void Unlock() const override;

    // Adds a node; the map takes ownership. Names must be unique.
    template <class T>
    T* Add(std::unique_ptr<T> node) {
        T* raw = node.get();
        AddNode(std::unique_ptr<Node>(std::move(node)));
        return raw;
    }
    // Adds a node that takes part in the dependency graph but that users never
    // see: it is in neither GetNodes nor GetNode, and NodeFromBase ignores it.
    template <class T>
    T* AddHidden(std::unique_ptr<T> node) {
        T* raw = node.get();
        AddNode(std::unique_ptr<Node>(std::move(node)), true);
        return raw;
    }
    Node* FindNode(const std::string& name) const;
    const std::vector<Node*>& Nodes() const { return m_order; }

    // Whether p is the IBase of one of this map's nodes (compares addresses only,
    // so a foreign pointer is never dereferenced).
    Node* NodeFromBase(const IBase* p) const;

    // Records that `node` changed: drops the caches of the node, of the nodes
    // it writes through (Node::AddWriteTarget) and of every node depending on
    // any of them, and fires their callbacks once each (see the header
    // comment). The caller holds the map's lock.
    void NotifyChanged(Node& node);

    // Recomputes the reverse dependency closure after nodes or links changed.
    void InvalidateDependencyGraph();

    // Outside-lock callbacks in flight: FireCallback brackets each call with
    // Begin/EndCallback (Begin under the map's lock), and DeregisterCallback
    // waits with WaitCallbackIdle until no other thread is still inside the
    // callback it removed, so that the caller may destroy it. The wait is
    // skipped when the deregistering thread holds the map's lock (waiting
    // there could deadlock with a callback that takes the lock).
    void BeginCallback(CallbackHandleType handle);
    void EndCallback(CallbackHandleType handle);
    void WaitCallbackIdle(CallbackHandleType handle);
    // Whether the calling thread holds the map's lock.
    bool HeldByThisThread() const { return m_owner.load() == std::this_thread::get_id(); }

    // Device loss ----------------------------------------------------------
    // A device node map learns from its transport that the device is lost
    // (DeviceConnection points it at its loss flag when it makes the map):
    // from then on node reads and writes fail at once with
    // ORVANE_ERR_DEVICE_LOST instead of waiting for the device. `lost` must
    // outlive the map; null (the default, e.g. transport-layer maps): never
    // lost. Set it before the map is shared with other threads.
    // `message` words the loss for errors ("camera <id> was lost (<reason>)");
    // without it: "the device was lost: it no longer answers".
    void SetLossFlag(const std::atomic<bool>* lost, std::function<std::string()> message = nullptr) {
        m_lost = lost;
        m_lossMessage = std::move(message);
    }
    // Lock-free, any thread.
    bool DeviceLost() const { return m_lost && m_lost->load(std::memory_order_acquire); }
    // The loss in words, for ORVANE_ERR_DEVICE_LOST errors. Any thread.
    std::string DeviceLostMessage() const {
        return m_lossMessage ? m_lossMessage() : "the device was lost: it no longer answers";
    }

    // RAII holder of the map's lock; runs the queued outside-lock callbacks
    // when the outermost holder on this thread releases it.
    class MapLock {
    public:
        explicit MapLock(const NodeMapBase& map);
        ~MapLock();
        MapLock(const MapLock&) = delete;
        MapLock& operator=(const MapLock&) = delete;

    private:
        const NodeMapBase& m_map;
    };

protected:
    void AddNode(std::unique_ptr<Node> node, bool hidden = false);

private:
    friend class MapLock;
    struct PendingCallback {
        Node* node;
        CallbackHandleType handle;
    };

    void Release() const;
    const std::vector<Node*>& Closure(Node& node);

    std::string m_deviceName;
    std::vector<std::unique_ptr<Node>> m_nodes; // every node, hidden ones included
    std::vector<Node*> m_order;                 // the visible nodes, in declaration order
    std::unordered_map<std::string, Node*> m_byName;
    std::unordered_map<const IBase*, Node*> m_byBase;
    std::unordered_map<Node*, std::vector<Node*>> m_closures; // node -> itself and its dependents
    bool m_graphValid = false;

    mutable std::recursive_mutex m_mutex;
    mutable int m_depth = 0;                        // lock depth of the holding thread
    mutable std::atomic<std::thread::id> m_owner{}; // the holding thread, or none
    struct InFlight {
        CallbackHandleType handle;
        std::thread::id thread;
    };
    std::mutex m_flightMutex; // guards m_inFlight
    std::condition_variable m_flightDone;
    std::vector<InFlight> m_inFlight;
    mutable std::vector<PendingCallback> m_pending; // outside-lock callbacks to run on release
    const std::atomic<bool>* m_lost = nullptr;      // the transport's loss flag, or null
    std::function<std::string()> m_lossMessage;     // set with m_lost, before the map is shared
    struct PollState {
        int64_t elapsed = 0; // time since the node's last poll
        bool known = false;  // whether `value` holds the last poll's value
        std::string value;
    };
    std::unordered_map<Node*, PollState> m_poll; // polled nodes (polling time >= 0)
};

} // namespace impl
} // namespace GenApi
} // namespace Orvane

#endif
