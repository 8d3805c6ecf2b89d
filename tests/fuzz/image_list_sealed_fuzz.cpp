// Fuzz target: arbitrary bytes as an image list file whose checksums are
// recomputed before loading, so that the mutations reach the checks behind
// them (header fields, record markers and indexes, sizes, chunk values) and
// the images built from what passes.
//
// Resealing follows the layout the reader expects: the header's CRC sits in
// its last 4 bytes (header size at offset 12); each record is a header
// (168 bytes in version 1, 432 in version 2; image and chunk byte counts at
// offsets 152 and 160), the image bytes, the chunk bytes and a CRC-32 of all
// three. Whatever does not fit in the input is left as it is.
#include <cstddef>
#include <cstdint>
#include <vector>

#include "FuzzSupport.h"
#include "ImageListWalk.h"
#include "image/Crc32.h"

namespace {

void Reseal(std::vector<uint8_t>& b) {
    using Orvane::internal::Crc32;
    using orvfuzz::LoadLE32;
    using orvfuzz::LoadLE64;
    const size_t size = b.size();
    if (size < 32) return;
    const uint32_t headerSize = LoadLE32(&b[12]);
    if (headerSize < 32 || headerSize > 4096 || headerSize % 4 != 0 || headerSize > size) return;
    orvfuzz::StoreLE32(&b[headerSize - 4], Crc32(b.data(), headerSize - 4));
    const uint32_t version = LoadLE32(&b[8]);
    const uint64_t recordHeader = version == 1 ? 168 : 432;
    const uint32_t count = LoadLE32(&b[16]);
    size_t at = headerSize;
    for (uint32_t i = 0; i < count; ++i) {
        if (size - at < recordHeader + 4) return;
        const uint64_t dataSize = LoadLE64(&b[at + 152]);
        const uint64_t chunkSize = LoadLE64(&b[at + 160]);
        const uint64_t room = size - at - recordHeader - 4;
        if (dataSize > room || chunkSize > room - dataSize) return;
        const size_t body = static_cast<size_t>(recordHeader + dataSize + chunkSize);
        orvfuzz::StoreLE32(&b[at + body], Crc32(&b[at], body));
        at += body + 4;
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size > orvfuzz::kMaxInput) return 0;
    static orvfuzz::MemoryFile file;
    std::vector<uint8_t> bytes(data, data + size);
    Reseal(bytes);
    orvfuzz::LoadAndUse(file, bytes.data(), bytes.size());
    return 0;
}
