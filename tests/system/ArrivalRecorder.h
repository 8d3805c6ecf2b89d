// Arrival and removal handlers for tests: each call is recorded (kind, the
// camera object, its serial number and validity at the call, the thread),
// and the test waits for the calls it expects.
#ifndef ORVANE_TESTS_SYSTEM_ARRIVAL_RECORDER_H
#define ORVANE_TESTS_SYSTEM_ARRIVAL_RECORDER_H

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "Orvane/DeviceArrivalEventHandler.h"

namespace orvtest {

struct CameraCall {
    std::string kind; // "arrival" or "removal"
    Orvane::CameraPtr camera;
    std::string serial;
    bool valid = false;
    std::thread::id thread;
    std::string Text() const { return kind + " " + serial + (valid ? " valid" : " invalid"); }
};

class CameraCalls {
public:
    // Runs in each call before it is recorded (on the monitor's thread).
    std::function<void(const CameraCall&)> during;

    void Add(const char* kind, const Orvane::CameraPtr& camera) {
        CameraCall call{kind, camera, camera->GetSerialNumber().str(), camera->IsValid(), std::this_thread::get_id()};
        if (during) during(call);
        std::lock_guard<std::mutex> lock(m_mutex);
        m_calls.push_back(std::move(call));
        m_changed.notify_all();
    }
    // Waits until at least n calls were recorded, at most `timeout`.
    bool WaitFor(size_t n, std::chrono::milliseconds timeout = std::chrono::seconds(10)) {
        std::unique_lock<std::mutex> lock(m_mutex);
        return m_changed.wait_for(lock, timeout, [&] { return m_calls.size() >= n; });
    }
    std::vector<CameraCall> Calls() {
        std::lock_guard<std::mutex> lock(m_mutex);
        return m_calls;
    }
    std::vector<std::string> Texts() {
        std::vector<std::string> out;
        for (const CameraCall& c : Calls()) out.push_back(c.Text());
        return out;
    }
    void Clear() {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_calls.clear();
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::vector<CameraCall> m_calls;
};

class ArrivalRecorder : public Orvane::DeviceArrivalEventHandler {
public:
    CameraCalls calls;
    void OnDeviceArrival(Orvane::CameraPtr camera) override { calls.Add("arrival", camera); }
};

class RemovalRecorder : public Orvane::DeviceRemovalEventHandler {
public:
    CameraCalls calls;
    void OnDeviceRemoval(Orvane::CameraPtr camera) override { calls.Add("removal", camera); }
};

class BothRecorder : public Orvane::InterfaceEventHandler {
public:
    CameraCalls calls;
    void OnDeviceArrival(Orvane::CameraPtr camera) override { calls.Add("arrival", camera); }
    void OnDeviceRemoval(Orvane::CameraPtr camera) override { calls.Add("removal", camera); }
};

} // namespace orvtest

#endif
