// What an SDK call raised: its error code (0 when it raised nothing) and its
// message (empty when it raised nothing). Other exception types propagate.
#ifndef ORVANE_TESTS_COMMON_SDK_ERROR_H
#define ORVANE_TESTS_COMMON_SDK_ERROR_H

#include <string>

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

} // namespace orvtest

#endif
