#include "genapi/ArvNodes.h"

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <limits>
#include <vector>

#include "core/Raise.h"

namespace Orvane {
namespace GenApi {
namespace impl {

namespace {

int CodeOf(const GError* e) {
    if (e->domain == ARV_DEVICE_ERROR) {
        switch (e->code) {
        case ARV_DEVICE_ERROR_TIMEOUT: return ORVANE_ERR_GENICAM_TIMEOUT;
        case ARV_DEVICE_ERROR_NOT_CONTROLLER: return ORVANE_ERR_GENICAM_ACCESS;
        default: return ORVANE_ERR_GENICAM_RUN_TIME;
        }
    }
    if (e->domain == ARV_GC_ERROR) {
        switch (e->code) {
        case ARV_GC_ERROR_OUT_OF_RANGE:
        case ARV_GC_ERROR_INVALID_LENGTH:
        case ARV_GC_ERROR_INVALID_BIT_RANGE: return ORVANE_ERR_GENICAM_OUT_OF_RANGE;
        case ARV_GC_ERROR_ENUM_ENTRY_NOT_FOUND:
        case ARV_GC_ERROR_INVALID_SYNTAX: return ORVANE_ERR_GENICAM_INVALID_ARGUMENT;
        case ARV_GC_ERROR_READ_ONLY: return ORVANE_ERR_GENICAM_ACCESS;
        case ARV_GC_ERROR_PROPERTY_NOT_DEFINED:
        case ARV_GC_ERROR_PVALUE_NOT_DEFINED:
        case ARV_GC_ERROR_INVALID_PVALUE:
        case ARV_GC_ERROR_NODE_NOT_FOUND:
        case ARV_GC_ERROR_EMPTY_ENUMERATION: return ORVANE_ERR_GENICAM_PROPERTY;
        default: return ORVANE_ERR_GENICAM_RUN_TIME;
        }
    }
    return ORVANE_ERR_GENICAM_RUN_TIME;
}

ERepresentation Representation(ArvGcRepresentation r) {
    switch (r) {
    case ARV_GC_REPRESENTATION_LINEAR: return Linear;
    case ARV_GC_REPRESENTATION_LOGARITHMIC: return Logarithmic;
    case ARV_GC_REPRESENTATION_BOOLEAN: return Boolean;
    case ARV_GC_REPRESENTATION_HEX_NUMBER: return HexNumber;
    case ARV_GC_REPRESENTATION_IPV4_ADDRESS: return IPV4Address;
    case ARV_GC_REPRESENTATION_MAC_ADDRESS: return MACAddress;
    default: return PureNumber;
    }
}

// Calls an Aravis getter that reports failure through a GError.
#define ARV_CALL(expr, function)                            \
    [&] {                                                   \
        GError* error_ = nullptr;                           \
        auto value_ = expr;                                 \
        if (error_) RaiseArvError(*this, function, error_); \
        return value_;                                      \
    }()

#define ARV_DO(expr, function)                              \
    do {                                                    \
        GError* error_ = nullptr;                           \
        expr;                                               \
        if (error_) RaiseArvError(*this, function, error_); \
    } while (0)

} // namespace

EAccessMode ArvAccessMode(const ArvLink& link, const NodeMapBase& map) {
    // A lost device's nodes are NA (evaluating their properties would wait
    // for the device); chunk and event data need no device.
    if (!link.dataPort && map.DeviceLost()) return NA;
    GError* error = nullptr;
    ArvGcFeatureNode* f = link.feature;
    // A property that cannot be evaluated makes the feature unusable, not the
    // caller's operation fail: GenApi reports such a node as NA (and the
    // caller reports a loss found meanwhile: Node::CheckReadable).
    const auto failed = [](GError* e) {
        g_error_free(e);
        return NA;
    };
    const bool implemented = arv_gc_feature_node_is_implemented(f, &error);
    if (error) return failed(error);
    if (!implemented) return NI;
    const bool available = arv_gc_feature_node_is_available(f, &error);
    if (error) return failed(error);
    if (!available) return NA;
    if (link.dataPort && !link.dataPort->HasData()) return NA;
    EAccessMode mode;
    switch (arv_gc_feature_node_get_actual_access_mode(f)) {
    case ARV_GC_ACCESS_MODE_RO: mode = RO; break;
    case ARV_GC_ACCESS_MODE_WO: mode = WO; break;
    case ARV_GC_ACCESS_MODE_RW: mode = RW; break;
    default: mode = NA; break;
    }
    const bool locked = arv_gc_feature_node_is_locked(f, &error);
    if (error) return failed(error);
    if (locked) mode = mode == RW ? RO : mode == WO ? NA : mode;
    if (link.valueNode) mode = CombineAccess(mode, link.valueNode->GetAccessMode());
    return mode;
}

std::string PortAbsence(const ArvLink& link) {
    return link.dataPort && !link.dataPort->HasData() ? link.dataPort->Absence() : std::string();
}

namespace {

// Reads the bytes of a register on a chunk or event port: its address and
// length as Aravis evaluates them (pIndex, pLength), its data from the port.
uint64_t PortRegisterBytes(const Node& node, const ArvLink& link, uint8_t* out, uint64_t capacity,
                           const char* function) {
    if (!ARV_IS_GC_REGISTER(link.feature))
        node.Fail(__LINE__, function, ORVANE_ERR_NOT_SUPPORTED,
                  "this register kind cannot be read from chunk or event data");
    ArvGcRegister* reg = ARV_GC_REGISTER(link.feature);
    GError* error = nullptr;
    const uint64_t address = arv_gc_register_get_address(reg, &error);
    if (error) RaiseArvError(node, function, error);
    const uint64_t length = arv_gc_register_get_length(reg, &error);
    if (error) RaiseArvError(node, function, error);
    if (length == 0 || length > capacity)
        node.Fail(__LINE__, function, ORVANE_ERR_GENICAM_PROPERTY,
                  "a register of " + std::to_string(length) + " bytes cannot hold this node's value");
    link.dataPort->ReadData(node, out, address, length);
    return length;
}

uint64_t Unsigned(const uint8_t* bytes, uint64_t length, bool bigEndian) {
    uint64_t v = 0;
    for (uint64_t i = 0; i < length; ++i) {
        const uint64_t b = bytes[bigEndian ? i : length - 1 - i];
        v = (v << 8) | b;
    }
    return v;
}

int64_t PortInteger(const Node& node, const ArvLink& link, const char* function) {
    uint8_t bytes[8];
    const uint64_t length = PortRegisterBytes(node, link, bytes, sizeof bytes, function);
    const PortRegisterLayout& l = link.portLayout;
    uint64_t v = Unsigned(bytes, length, l.bigEndian);
    unsigned width = static_cast<unsigned>(length * 8);
    if (l.kind == PortRegisterLayout::MaskedInteger && l.lsb >= 0 && l.msb >= 0) {
        // Little-endian registers number bits from the least significant
        // one; big-endian registers from the most significant one.
        int low, high;
        if (l.bigEndian) {
            low = static_cast<int>(width) - 1 - l.lsb;
            high = static_cast<int>(width) - 1 - l.msb;
        } else {
            low = l.lsb;
            high = l.msb;
        }
        if (low < 0 || high < low || high >= static_cast<int>(width))
            node.Fail(__LINE__, function, ORVANE_ERR_GENICAM_PROPERTY,
                      "bit field LSB " + std::to_string(l.lsb) + ", MSB " + std::to_string(l.msb) +
                          " does not fit a register of " + std::to_string(length) + " bytes");
        width = static_cast<unsigned>(high - low + 1);
        v >>= low;
        if (width < 64) v &= (uint64_t(1) << width) - 1;
    }
    if (l.isSigned && width < 64 && (v >> (width - 1)) & 1) v |= ~((uint64_t(1) << width) - 1);
    return static_cast<int64_t>(v);
}

double PortFloat(const Node& node, const ArvLink& link, const char* function) {
    uint8_t bytes[8];
    const uint64_t length = PortRegisterBytes(node, link, bytes, sizeof bytes, function);
    const uint64_t v = Unsigned(bytes, length, link.portLayout.bigEndian);
    if (length == 4) {
        const uint32_t v32 = static_cast<uint32_t>(v);
        float f;
        std::memcpy(&f, &v32, sizeof f);
        return f;
    }
    if (length == 8) {
        double d;
        std::memcpy(&d, &v, sizeof d);
        return d;
    }
    node.Fail(__LINE__, function, ORVANE_ERR_GENICAM_PROPERTY,
              "a float register has 4 or 8 bytes, not " + std::to_string(length));
}

// The value of the node a pass-through node reads.
int64_t ServedInteger(const Node& node, Node* source, bool ignoreCache, const char* function) {
    if (auto* i = dynamic_cast<IInteger*>(source)) return i->GetValue(false, ignoreCache);
    if (auto* f = dynamic_cast<IFloat*>(source))
        return static_cast<int64_t>(std::llround(f->GetValue(false, ignoreCache)));
    node.Fail(__LINE__, function, ORVANE_ERR_GENICAM_PROPERTY, "its pValue is neither an integer nor a float");
}

double ServedFloat(const Node& node, Node* source, bool ignoreCache, const char* function) {
    if (auto* f = dynamic_cast<IFloat*>(source)) return f->GetValue(false, ignoreCache);
    if (auto* i = dynamic_cast<IInteger*>(source)) return static_cast<double>(i->GetValue(false, ignoreCache));
    node.Fail(__LINE__, function, ORVANE_ERR_GENICAM_PROPERTY, "its pValue is neither an integer nor a float");
}

} // namespace

void RaiseArvError(const Node& node, const char* function, GError* error) {
    const int code = CodeOf(error);
    std::string message = error->message ? error->message : "Aravis reported an error";
    g_error_free(error);
    // A device found lost while the access waited: the loss is the error.
    node.CheckDevice(function, message);
    node.Fail(__LINE__, function, code, message);
}

// Integer ------------------------------------------------------------------

ArvIntegerNode::ArvIntegerNode(NodeMapBase& map, NodeInfo info, ArvGcFeatureNode* feature)
    : ArvNode(feature, map, std::move(info)), m_integer(ARV_GC_INTEGER(feature)) {}

void ArvIntegerNode::InvalidateCache() {
    m_valid = false;
    Node::InvalidateCache();
}

int64_t ArvIntegerNode::DoGetValue(bool ignoreCache) {
    if (m_valid && !ignoreCache) return m_cache;
    int64_t value;
    if (m_link.portRegister) {
        value = PortInteger(*this, m_link, "GetValue");
    } else if (m_link.servedBy) {
        value = ServedInteger(*this, m_link.servedBy, ignoreCache, "GetValue");
    } else {
        BeforeDeviceRead();
        GError* error = nullptr;
        value = arv_gc_integer_get_value(m_integer, &error);
        if (error) RaiseArvError(*this, "GetValue", error);
    }
    m_cache = value;
    m_valid = m_link.valueCacheable;
    return value;
}

void ArvIntegerNode::DoSetValue(int64_t value) {
    m_valid = false;
    ARV_DO(arv_gc_integer_set_value(m_integer, value, &error_), "SetValue");
    AfterDeviceWrite();
}

// Nodes without limits (swiss knives) have the whole range of their type;
// Aravis reports them as a property that is not defined.
template <class T, class Get>
T LimitOf(const Node& node, Get&& get, T unlimited, const char* function) {
    GError* error = nullptr;
    const T value = get(&error);
    if (!error) return value;
    if (error->domain == ARV_GC_ERROR && error->code == ARV_GC_ERROR_PROPERTY_NOT_DEFINED) {
        g_error_free(error);
        return unlimited;
    }
    RaiseArvError(node, function, error);
}

int64_t ArvIntegerNode::DoGetMin() {
    return LimitOf<int64_t>(
        *this, [&](GError** e) { return arv_gc_integer_get_min(m_integer, e); }, std::numeric_limits<int64_t>::min(),
        "GetMin");
}
int64_t ArvIntegerNode::DoGetMax() {
    return LimitOf<int64_t>(
        *this, [&](GError** e) { return arv_gc_integer_get_max(m_integer, e); }, std::numeric_limits<int64_t>::max(),
        "GetMax");
}
int64_t ArvIntegerNode::DoGetInc() {
    // No Inc in the document: an increment of 1.
    GError* error = nullptr;
    const int64_t inc = arv_gc_integer_get_inc(m_integer, &error);
    if (error) {
        g_error_free(error);
        return 1;
    }
    return inc;
}
ERepresentation ArvIntegerNode::DoGetRepresentation() {
    return Representation(arv_gc_integer_get_representation(m_integer));
}
std::string ArvIntegerNode::DoGetUnit() const {
    const char* unit = arv_gc_integer_get_unit(m_integer);
    return unit ? unit : "";
}

// Float --------------------------------------------------------------------

ArvFloatNode::ArvFloatNode(NodeMapBase& map, NodeInfo info, ArvGcFeatureNode* feature)
    : ArvNode(feature, map, std::move(info)), m_float(ARV_GC_FLOAT(feature)) {}

void ArvFloatNode::InvalidateCache() {
    m_valid = false;
    Node::InvalidateCache();
}

double ArvFloatNode::DoGetValue(bool ignoreCache) {
    if (m_valid && !ignoreCache) return m_cache;
    double value;
    if (m_link.portRegister) {
        value = PortFloat(*this, m_link, "GetValue");
    } else if (m_link.servedBy) {
        value = ServedFloat(*this, m_link.servedBy, ignoreCache, "GetValue");
    } else {
        BeforeDeviceRead();
        GError* error = nullptr;
        value = arv_gc_float_get_value(m_float, &error);
        if (error) RaiseArvError(*this, "GetValue", error);
    }
    m_cache = value;
    m_valid = m_link.valueCacheable;
    return value;
}

void ArvFloatNode::DoSetValue(double value) {
    m_valid = false;
    ARV_DO(arv_gc_float_set_value(m_float, value, &error_), "SetValue");
    AfterDeviceWrite();
}

double ArvFloatNode::DoGetMin() {
    return LimitOf<double>(
        *this, [&](GError** e) { return arv_gc_float_get_min(m_float, e); }, -std::numeric_limits<double>::max(),
        "GetMin");
}
double ArvFloatNode::DoGetMax() {
    return LimitOf<double>(
        *this, [&](GError** e) { return arv_gc_float_get_max(m_float, e); }, std::numeric_limits<double>::max(),
        "GetMax");
}
// Without an increment Aravis reports the smallest positive double, or an
// error for float registers.
bool ArvFloatNode::DoHasInc() { return DoGetInc() > DBL_MIN; }
double ArvFloatNode::DoGetInc() {
    GError* error = nullptr;
    const double inc = arv_gc_float_get_inc(m_float, &error);
    if (error) {
        g_error_free(error);
        return 0.0;
    }
    return inc;
}
ERepresentation ArvFloatNode::DoGetRepresentation() const {
    return Representation(arv_gc_float_get_representation(m_float));
}
std::string ArvFloatNode::DoGetUnit() const {
    const char* unit = arv_gc_float_get_unit(m_float);
    return unit ? unit : "";
}
EDisplayNotation ArvFloatNode::DoGetDisplayNotation() const {
    switch (arv_gc_float_get_display_notation(m_float)) {
    case ARV_GC_DISPLAY_NOTATION_FIXED: return fnFixed;
    case ARV_GC_DISPLAY_NOTATION_SCIENTIFIC: return fnScientific;
    default: return fnAutomatic;
    }
}
int64_t ArvFloatNode::DoGetDisplayPrecision() const { return arv_gc_float_get_display_precision(m_float); }

// String -------------------------------------------------------------------

ArvStringNode::ArvStringNode(NodeMapBase& map, NodeInfo info, ArvGcFeatureNode* feature)
    : ArvNode(feature, map, std::move(info)), m_string(ARV_GC_STRING(feature)) {}

void ArvStringNode::InvalidateCache() {
    m_valid = false;
    Node::InvalidateCache();
}

std::string ArvStringNode::DoGetValue(bool ignoreCache) {
    if (m_valid && !ignoreCache) return m_cache;
    if (m_link.portRegister) {
        GError* error = nullptr;
        const uint64_t length = arv_gc_register_get_length(ARV_GC_REGISTER(m_link.feature), &error);
        if (error) RaiseArvError(*this, "GetValue", error);
        std::vector<uint8_t> bytes(static_cast<size_t>(length));
        if (length > 0) PortRegisterBytes(*this, m_link, bytes.data(), length, "GetValue");
        const auto end = std::find(bytes.begin(), bytes.end(), uint8_t(0));
        m_cache.assign(bytes.begin(), end);
    } else {
        BeforeDeviceRead();
        GError* error = nullptr;
        const char* value = arv_gc_string_get_value(m_string, &error);
        if (error) RaiseArvError(*this, "GetValue", error);
        m_cache = value ? value : "";
    }
    m_valid = m_link.valueCacheable;
    return m_cache;
}

void ArvStringNode::DoSetValue(const std::string& value) {
    m_valid = false;
    ARV_DO(arv_gc_string_set_value(m_string, value.c_str(), &error_), "SetValue");
    AfterDeviceWrite();
}

int64_t ArvStringNode::DoGetMaxLength() {
    return ARV_CALL(arv_gc_string_get_max_length(m_string, &error_), "GetMaxLength");
}

// Boolean ------------------------------------------------------------------

ArvBooleanNode::ArvBooleanNode(NodeMapBase& map, NodeInfo info, ArvGcFeatureNode* feature)
    : ArvNode(feature, map, std::move(info)), m_boolean(ARV_GC_BOOLEAN(feature)) {}

void ArvBooleanNode::InvalidateCache() {
    m_valid = false;
    Node::InvalidateCache();
}

bool ArvBooleanNode::DoGetValue(bool ignoreCache) const {
    if (m_valid && !ignoreCache) return m_cache;
    BeforeDeviceRead();
    GError* error = nullptr;
    const bool value = arv_gc_boolean_get_value(m_boolean, &error);
    if (error) RaiseArvError(*this, "GetValue", error);
    m_cache = value;
    m_valid = m_link.valueCacheable;
    return value;
}

void ArvBooleanNode::DoSetValue(bool value) {
    m_valid = false;
    ARV_DO(arv_gc_boolean_set_value(m_boolean, value, &error_), "SetValue");
    AfterDeviceWrite();
}

// Command ------------------------------------------------------------------

ArvCommandNode::ArvCommandNode(NodeMapBase& map, NodeInfo info, ArvGcFeatureNode* feature,
                               ArvGcPropertyNode* commandValue)
    : ArvNode(feature, map, std::move(info)), m_command(ARV_GC_COMMAND(feature)), m_commandValue(commandValue) {}

void ArvCommandNode::DoExecute() {
    ARV_DO(arv_gc_command_execute(m_command, &error_), "Execute");
    AfterDeviceWrite();
    // A command may change anything on the device (a user set loaded, a
    // reset): no cached value survives it.
    m_map.InvalidateNodes();
}

bool ArvCommandNode::DoIsDone() {
    auto* value = m_link.valueNode ? dynamic_cast<IInteger*>(m_link.valueNode) : nullptr;
    if (!value) return true;
    const EAccessMode mode = m_link.valueNode->GetAccessMode();
    if (mode != RO && mode != RW) return true;
    const int64_t current = value->GetValue(false, true);
    int64_t commandValue = 1;
    if (m_commandValue) commandValue = ARV_CALL(arv_gc_property_node_get_int64(m_commandValue, &error_), "IsDone");
    return current != commandValue;
}

// Enumeration --------------------------------------------------------------

ArvEnumerationNode::ArvEnumerationNode(NodeMapBase& map, NodeInfo info, ArvGcFeatureNode* feature)
    : ArvNode(feature, map, std::move(info)), m_enumeration(ARV_GC_ENUMERATION(feature)) {}

void ArvEnumerationNode::InvalidateCache() {
    m_valid = false;
    Node::InvalidateCache();
}

int64_t ArvEnumerationNode::DoGetIntValue(bool ignoreCache) {
    if (m_valid && !ignoreCache) return m_cache;
    int64_t value;
    if (m_link.servedBy) {
        value = ServedInteger(*this, m_link.servedBy, ignoreCache, "GetIntValue");
    } else {
        BeforeDeviceRead();
        GError* error = nullptr;
        value = arv_gc_enumeration_get_int_value(m_enumeration, &error);
        if (error) RaiseArvError(*this, "GetIntValue", error);
    }
    m_cache = value;
    m_valid = m_link.valueCacheable;
    return value;
}

void ArvEnumerationNode::DoSetIntValue(int64_t value) {
    m_valid = false;
    ARV_DO(arv_gc_enumeration_set_int_value(m_enumeration, value, &error_), "SetIntValue");
    AfterDeviceWrite();
}

ArvEnumEntryNode::ArvEnumEntryNode(NodeMapBase& map, NodeInfo info, ArvGcFeatureNode* feature, std::string symbolic,
                                   int64_t value)
    : ArvNode(feature, map, std::move(info), std::move(symbolic), value) {}

ArvCategoryNode::ArvCategoryNode(NodeMapBase& map, NodeInfo info, ArvGcFeatureNode* feature)
    : ArvNode(feature, map, std::move(info)) {}

// Register -----------------------------------------------------------------

ArvRegisterNode::ArvRegisterNode(NodeMapBase& map, NodeInfo info, ArvGcFeatureNode* feature)
    : ArvNode(feature, map, std::move(info)), m_register(ARV_GC_REGISTER(feature)) {}

void ArvRegisterNode::DoGet(uint8_t* buffer, int64_t length, bool) {
    const int64_t full = DoGetLength();
    if (m_link.portRegister) {
        GError* error = nullptr;
        const uint64_t address = arv_gc_register_get_address(m_register, &error);
        if (error) RaiseArvError(*this, "Get", error);
        // The whole register must be in the data, even when fewer bytes are asked for.
        if (full > 0) m_link.dataPort->ReadData(*this, nullptr, address, static_cast<uint64_t>(full));
        m_link.dataPort->ReadData(*this, buffer, address, static_cast<uint64_t>(std::min(length, full)));
        return;
    }
    BeforeDeviceRead();
    if (length >= full) {
        ARV_DO(arv_gc_register_get(m_register, buffer, static_cast<guint64>(length), &error_), "Get");
        return;
    }
    // Aravis reads whole registers only.
    std::vector<uint8_t> all(static_cast<size_t>(full));
    ARV_DO(arv_gc_register_get(m_register, all.data(), static_cast<guint64>(full), &error_), "Get");
    std::copy(all.begin(), all.begin() + length, buffer);
}

void ArvRegisterNode::DoSet(const uint8_t* buffer, int64_t length) {
    const int64_t full = DoGetLength();
    if (length >= full) {
        ARV_DO(arv_gc_register_set(m_register, buffer, static_cast<guint64>(full), &error_), "Set");
        AfterDeviceWrite();
        return;
    }
    // A shorter write replaces the first bytes and keeps the rest.
    std::vector<uint8_t> all(static_cast<size_t>(full));
    ARV_DO(arv_gc_register_get(m_register, all.data(), static_cast<guint64>(full), &error_), "Set");
    std::copy(buffer, buffer + length, all.begin());
    ARV_DO(arv_gc_register_set(m_register, all.data(), static_cast<guint64>(full), &error_), "Set");
    AfterDeviceWrite();
}

int64_t ArvRegisterNode::DoGetLength() {
    return static_cast<int64_t>(ARV_CALL(arv_gc_register_get_length(m_register, &error_), "GetLength"));
}

int64_t ArvRegisterNode::DoGetAddress() {
    return static_cast<int64_t>(ARV_CALL(arv_gc_register_get_address(m_register, &error_), "GetAddress"));
}

// Port ---------------------------------------------------------------------

ArvPortNode::ArvPortNode(NodeMapBase& map, NodeInfo info, ArvGcFeatureNode* feature)
    : ArvNode(feature, map, std::move(info)), m_port(ARV_GC_PORT(feature)) {}

EAccessMode ArvPortNode::ComputeAccessMode() const {
    if (m_source == Source::Device) return RW;
    return m_hasData ? RO : NA;
}

std::string ArvPortNode::Absence() const {
    if (m_source == Source::Device || m_hasData) return "";
    char text[96];
    if (m_source == Source::Chunk) {
        if (m_attached && *m_attached)
            std::snprintf(text, sizeof text, "the attached chunk data holds no chunk 0x%08llX",
                          static_cast<unsigned long long>(m_id));
        else
            std::snprintf(text, sizeof text, "no chunk data is attached (chunk 0x%08llX)",
                          static_cast<unsigned long long>(m_id));
    } else {
        std::snprintf(text, sizeof text, "no data is attached for event 0x%llX", static_cast<unsigned long long>(m_id));
    }
    return text;
}

void ArvPortNode::ReadData(const Node& reader, uint8_t* out, uint64_t address, uint64_t length) const {
    if (!m_hasData)
        reader.Fail(__LINE__, "Read", ORVANE_ERR_GENICAM_ACCESS,
                    "the node is not readable (access mode NA): " + Absence());
    if (address > m_size || length > m_size - address) {
        char text[160];
        std::snprintf(text, sizeof text,
                      "reading %llu bytes at offset %llu of %s 0x%llX: the data holds only %zu bytes",
                      static_cast<unsigned long long>(length), static_cast<unsigned long long>(address),
                      m_source == Source::Chunk ? "chunk" : "event", static_cast<unsigned long long>(m_id), m_size);
        reader.Fail(__LINE__, "Read", ORVANE_ERR_INVALID_BUFFER, text);
    }
    if (out && length > 0) std::memcpy(out, m_data + address, static_cast<size_t>(length));
}

void ArvPortNode::Read(void* pBuffer, int64_t Address, int64_t Length) {
    NodeMapBase::MapLock lock(m_map);
    if (!pBuffer || Length < 0 || Address < 0)
        ORV_NODE_FAIL(ORVANE_ERR_GENICAM_INVALID_ARGUMENT, "null buffer or negative address or length");
    if (m_source != Source::Device) {
        ReadData(*this, static_cast<uint8_t*>(pBuffer), static_cast<uint64_t>(Address), static_cast<uint64_t>(Length));
        return;
    }
    CheckDevice("Read");
    if (ArvNodeMap::DeviceObserver* observer = ArvMap().Observer()) {
        const std::string why =
            observer->PortRangeError(static_cast<uint64_t>(Address), static_cast<uint64_t>(Length), false);
        if (!why.empty()) ORV_NODE_FAIL(ORVANE_ERR_GENICAM_OUT_OF_RANGE, why);
    }
    if (Length == 0) return;
    ARV_DO(arv_gc_port_read(m_port, pBuffer, static_cast<guint64>(Address), static_cast<guint64>(Length), &error_),
           "Read");
}

void ArvPortNode::Write(const void* pBuffer, int64_t Address, int64_t Length) {
    NodeMapBase::MapLock lock(m_map);
    if (!pBuffer || Length < 0 || Address < 0)
        ORV_NODE_FAIL(ORVANE_ERR_GENICAM_INVALID_ARGUMENT, "null buffer or negative address or length");
    if (m_source != Source::Device)
        ORV_NODE_FAIL(ORVANE_ERR_GENICAM_ACCESS,
                      std::string("a ") + (m_source == Source::Chunk ? "chunk" : "event") + " port is read-only");
    CheckDevice("Write");
    if (ArvNodeMap::DeviceObserver* observer = ArvMap().Observer()) {
        const std::string why =
            observer->PortRangeError(static_cast<uint64_t>(Address), static_cast<uint64_t>(Length), true);
        if (!why.empty()) ORV_NODE_FAIL(ORVANE_ERR_GENICAM_OUT_OF_RANGE, why);
    }
    if (Length == 0) return;
    ARV_DO(arv_gc_port_write(m_port, const_cast<void*>(pBuffer), static_cast<guint64>(Address),
                             static_cast<guint64>(Length), &error_),
           "Write");
    m_map.InvalidateNodes();
    if (ArvNodeMap::DeviceObserver* observer = ArvMap().Observer())
        observer->AfterWrite(static_cast<uint64_t>(Address), static_cast<uint64_t>(Length));
}

} // namespace impl
} // namespace GenApi
} // namespace Orvane
