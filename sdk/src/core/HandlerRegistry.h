// HandlerRegistry<H>: the list of handlers registered for one kind of event,
// shared by every event source of the SDK.
//
// Owner and threads: the object that owns the registry (the logger, a camera,
// the system) owns its mutex. Add/Remove/Dispatch may run on any thread.
// Dispatch calls handlers one by one with no lock held. Remove waits until the
// handler is no longer being called on other threads, so that after Remove
// returns the caller may destroy the handler; a handler removing itself (or
// another handler) from inside its own callback does not wait for itself.
//
// Hot paths (one dispatch per frame) pass a Snapshot of their own to
// Dispatch: it keeps its capacity from one dispatch to the next, so that a
// dispatch allocates nothing once every handler has been called once.
#ifndef ORVANE_CORE_HANDLER_REGISTRY_H
#define ORVANE_CORE_HANDLER_REGISTRY_H

#include <algorithm>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

namespace Orvane {

template <class H>
class HandlerRegistry {
    struct Entry;

public:
    // The handlers one dispatch calls; reusable (see the header comment). One
    // dispatching thread at a time per snapshot.
    class Snapshot {
        friend class HandlerRegistry;
        std::vector<std::shared_ptr<Entry>> m_entries;
    };

    // Adds the handler; false if it is registered already (nothing changes).
    bool Add(H& handler) {
        std::lock_guard<std::mutex> lock(m_mutex);
        for (const auto& e : m_entries)
            if (e->handler == &handler) return false;
        auto entry = std::make_shared<Entry>();
        entry->handler = &handler;
        m_entries.push_back(std::move(entry));
        return true;
    }

    // Removes the handler; false if it was not registered.
    bool Remove(H& handler) {
        std::unique_lock<std::mutex> lock(m_mutex);
        auto it = std::find_if(m_entries.begin(), m_entries.end(),
                               [&](const std::shared_ptr<Entry>& e) { return e->handler == &handler; });
        if (it == m_entries.end()) return false;
        std::shared_ptr<Entry> entry = *it;
        m_entries.erase(it);
        Retire(lock, *entry);
        return true;
    }

    void RemoveAll() {
        std::unique_lock<std::mutex> lock(m_mutex);
        std::vector<std::shared_ptr<Entry>> entries;
        entries.swap(m_entries);
        for (auto& e : entries) Retire(lock, *e);
    }

    bool Contains(H& handler) const {
        std::lock_guard<std::mutex> lock(m_mutex);
        for (const auto& e : m_entries)
            if (e->handler == &handler) return true;
        return false;
    }

    size_t Size() const {
        std::lock_guard<std::mutex> lock(m_mutex);
        return m_entries.size();
    }

    bool Empty() const { return Size() == 0; }

    // Calls f(handler) for every handler registered when the dispatch starts
    // and still registered when its turn comes.
    template <class F>
    void Dispatch(F&& f) {
        Snapshot snapshot;
        Dispatch(snapshot, std::forward<F>(f));
    }

    // The same, with the caller's snapshot.
    template <class F>
    void Dispatch(Snapshot& snapshot, F&& f) {
        {
            std::lock_guard<std::mutex> lock(m_mutex);
            if (m_entries.empty()) return;
            snapshot.m_entries = m_entries;
        }
        struct Clear {
            Snapshot& s;
            ~Clear() { s.m_entries.clear(); } // keeps the capacity, drops the entries
        } clear{snapshot};
        for (auto& entry : snapshot.m_entries) {
            {
                std::lock_guard<std::mutex> lock(m_mutex);
                if (!entry->active) continue;
                ++entry->inFlight;
                entry->threads.push_back(std::this_thread::get_id());
            }
            struct Done {
                HandlerRegistry* self;
                Entry* entry;
                ~Done() {
                    std::lock_guard<std::mutex> lock(self->m_mutex);
                    auto& t = entry->threads;
                    t.erase(std::find(t.begin(), t.end(), std::this_thread::get_id()));
                    if (--entry->inFlight == 0) self->m_idle.notify_all();
                }
            } done{this, entry.get()};
            f(*entry->handler);
        }
    }

private:
    struct Entry {
        H* handler = nullptr;
        bool active = true;
        int inFlight = 0;
        std::vector<std::thread::id> threads; // threads inside this handler now
    };

    // Marks the entry inactive and waits for calls on other threads to end.
    void Retire(std::unique_lock<std::mutex>& lock, Entry& entry) {
        entry.active = false;
        const auto self = std::this_thread::get_id();
        m_idle.wait(lock, [&] {
            const auto n = std::count(entry.threads.begin(), entry.threads.end(), self);
            return entry.inFlight == static_cast<int>(n);
        });
    }

    mutable std::mutex m_mutex;
    std::condition_variable m_idle;
    std::vector<std::shared_ptr<Entry>> m_entries;
};

} // namespace Orvane

#endif
