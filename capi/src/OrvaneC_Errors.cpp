// The OrvaneC module's last-error record and its getters.
#include "OrvaneCModule.h"

namespace {
ErrorRecord g_record;
}

ErrorRecord& OrvaneCRecord() { return g_record; }

orvError orvErrorGetLast(orvError* error) {
    return CallFrameNoClear(g_record, [&] {
        CheckNullParam(error);
        *error = g_record.code;
        return ORV_OK;
    });
}

#define ORV_TEXT_GETTER(name, field)                                              \
    orvError name(char* buffer, size_t* length) {                                 \
        return CallFrameNoClear(g_record, [&] {                                   \
            SetString(Orvane::GenICam::gcstring(g_record.field), buffer, length); \
            return ORV_OK;                                                        \
        });                                                                       \
    }

ORV_TEXT_GETTER(orvErrorGetLastMessage, message)
ORV_TEXT_GETTER(orvErrorGetLastBuildDate, buildDate)
ORV_TEXT_GETTER(orvErrorGetLastBuildTime, buildTime)
ORV_TEXT_GETTER(orvErrorGetLastFileName, fileName)
ORV_TEXT_GETTER(orvErrorGetLastFullMessage, fullMessage)
ORV_TEXT_GETTER(orvErrorGetLastFunctionName, functionName)

orvError orvErrorGetLastLineNumber(int64_t* lineNumber) {
    *lineNumber = static_cast<int64_t>(g_record.line);
    return ORV_OK;
}
