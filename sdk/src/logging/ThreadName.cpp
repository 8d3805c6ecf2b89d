#include "logging/ThreadName.h"

#include <pthread.h>

namespace Orvane {
namespace internal {

namespace {
// The name SetThreadName gave this thread; empty when it never ran here.
thread_local std::string t_name;
} // namespace

void SetThreadName(const std::string& name) {
    t_name = name;
    // The OS takes at most 15 bytes and a terminator.
    const std::string os = name.substr(0, 15);
    pthread_setname_np(pthread_self(), os.c_str());
}

std::string CurrentThreadName() {
    if (!t_name.empty()) return t_name;
    char name[32] = {0};
    if (pthread_getname_np(pthread_self(), name, sizeof name) != 0) name[0] = 0;
    return name;
}

} // namespace internal
} // namespace Orvane
