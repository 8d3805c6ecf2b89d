// What an SDK call raised: its error code (0 when it raised nothing) and its
// message (empty when it raised nothing). Other exception types propagate.
#ifndef ORVANE_TESTS_COMMON_SDK_ERROR_H
#define ORVANE_TESTS_COMMON_SDK_ERROR_H

#include <string>
#include <utility>

#include "Orvane/Exception.h"

namespace orvtest {

template <class F>
int CodeOf(F&& f) {
    try {
        f();
    } catch (const Orvane::Exception& e) {
        return e.GetError();
    }
    return 0;
}

template <class F>
std::string MessageOf(F&& f) {
    try {
        f();
    } catch (const Orvane::Exception& e) {
        return e.GetErrorMessage();
    }
    return "";
}

// Both at once: {code, message} of what f raised, {0, "no exception"} when
// it raised nothing.
template <class F>
std::pair<int, std::string> Failure(F&& f) {
    try {
        f();
    } catch (const Orvane::Exception& e) {
        return {e.GetError(), e.GetErrorMessage()};
    }
    return {0, "no exception"};
}

} // namespace orvtest

#endif
