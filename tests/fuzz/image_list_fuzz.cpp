// Fuzz target: arbitrary bytes as an image list file, loaded as they are.
// Nearly every mutation fails a checksum here; image_list_sealed_fuzz reaches
// the checks behind the checksums.
#include <cstddef>
#include <cstdint>

#include "FuzzSupport.h"
#include "ImageListWalk.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size > orvfuzz::kMaxInput) return 0;
    static orvfuzz::MemoryFile file;
    orvfuzz::LoadAndUse(file, data, size);
    return 0;
}
