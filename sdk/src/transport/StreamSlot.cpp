#include "transport/StreamSlot.h"

#include <cstdlib>
#include <string>

#include "core/Raise.h"

namespace Orvane {
namespace internal {

namespace {
constexpr uint32_t kSlotMagic = 0x4F52534C; // "ORSL": marks the user data of our Aravis buffers
}

StreamSlot::StreamSlot(uint32_t index, size_t capacity) : m_magic(kSlotMagic), m_index(index) {
    const size_t alignment = kStreamBufferAlignment;
    const size_t rounded = (capacity + alignment - 1) / alignment * alignment;
    if (rounded < capacity || rounded == 0)
        ORV_RAISE(ORVANE_ERR_INVALID_ARGUMENT,
                  "a stream buffer of " + std::to_string(capacity) + " bytes is not possible");
    m_data = static_cast<uint8_t*>(std::aligned_alloc(alignment, rounded));
    if (!m_data)
        ORV_RAISE(ORVANE_ERR_OUT_OF_MEMORY, "cannot allocate a stream buffer of " + std::to_string(rounded) + " bytes");
    m_capacity = capacity;
    m_buffer = arv_buffer_new_full(capacity, m_data, this, nullptr);
}

StreamSlot::~StreamSlot() {
    m_magic = 0;
    g_object_unref(m_buffer);
    std::free(m_data);
}

StreamSlot* StreamSlot::Of(ArvBuffer* buffer) {
    if (!buffer) return nullptr;
    auto* slot = const_cast<StreamSlot*>(static_cast<const StreamSlot*>(arv_buffer_get_user_data(buffer)));
    return slot && slot->m_magic == kSlotMagic ? slot : nullptr;
}

} // namespace internal
} // namespace Orvane
