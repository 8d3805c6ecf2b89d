// Names of the SDK's threads, as log records and the OS show them.
//
// Every thread the SDK starts names itself first thing with SetThreadName:
// "orv-deliver" (a camera's delivery thread), "orv-events" (a device event
// channel), "orv-monitor" (the device monitor), ... Records logged on a
// thread carry its name (LoggingEventData::GetThreadName).
#ifndef ORVANE_LOGGING_THREAD_NAME_H
#define ORVANE_LOGGING_THREAD_NAME_H

#include <string>

namespace Orvane {
namespace internal {

// Names the calling thread: records logged from it carry `name` in full, and
// the OS name (pthread_setname_np: ps, top, gdb) is its first 15 bytes.
void SetThreadName(const std::string& name);

// The calling thread's name: the one SetThreadName gave it, else its OS
// name (the program's name for the main thread, unless someone renamed it).
std::string CurrentThreadName();

} // namespace internal
} // namespace Orvane

#endif
