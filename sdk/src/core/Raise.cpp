#include "core/Raise.h"

#include <cstring>

#include "Orvane/Logging.h"

namespace Orvane {

namespace {

// The log category of an error raised in `file`: the SDK area (the folder
// under src/) the file belongs to, "Orvane.<Area>"; "Orvane" when the path
// names no area.
const char* CategoryOf(const char* file) {
    static const struct {
        const char* folder;
        const char* category;
    } kAreas[] = {
        {"acquisition", "Orvane.Acquisition"},
        {"camera", "Orvane.Camera"},
        {"codecs", "Orvane.Codecs"},
        {"core", "Orvane.Core"},
        {"events", "Orvane.Events"},
        {"genapi", "Orvane.GenApi"},
        {"image", "Orvane.Image"},
        {"logging", "Orvane.Logging"},
        {"processing", "Orvane.Processing"},
        {"system", "Orvane.System"},
        {"transport", "Orvane.Transport"},
        {"virtual", "Orvane.Virtual"},
    };
    if (!file) return "Orvane";
    // The last "src/" of the path starts the area's folder.
    const char* area = nullptr;
    for (const char* p = std::strstr(file, "src/"); p; p = std::strstr(p + 1, "src/"))
        if (p == file || p[-1] == '/') area = p + 4;
    if (!area) return "Orvane";
    const char* end = std::strchr(area, '/');
    if (!end) return "Orvane";
    const size_t length = static_cast<size_t>(end - area);
    for (const auto& a : kAreas)
        if (std::strlen(a.folder) == length && std::strncmp(area, a.folder, length) == 0) return a.category;
    return "Orvane";
}

} // namespace

void Raise(const SourcePosition& at, Error code, const std::string& message) {
    Exception e(at.line, at.file, at.function, message.c_str(), code);
    if (LoggerWrapper::IsEnabled(LOG_LEVEL_ERROR))
        LoggerWrapper::LogWithCategory(LOG_LEVEL_ERROR, CategoryOf(at.file), e.GetFullErrorMessage(), "");
    throw e;
}

} // namespace Orvane
