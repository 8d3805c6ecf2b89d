#include "genapi/ArvNodes.h"

#include <cfloat>
#include <vector>

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
#define ARV_CALL(expr, function)                      \
    [&] {                                             \
        GError* error_ = nullptr;                     \
        auto value_ = expr;                           \
        if (error_) RaiseArvError(*this, function, error_); \
        return value_;                                \
    }()

#define ARV_DO(expr, function)                        \
    do {                                              \
        GError* error_ = nullptr;                     \
        expr;                                         \
        if (error_) RaiseArvError(*this, function, error_); \
    } while (0)

} // namespace

EAccessMode ArvAccessMode(const ArvLink& link) {
    GError* error = nullptr;
    ArvGcFeatureNode* f = link.feature;
    // A property that cannot be evaluated makes the feature unusable, not the
    // caller's operation fail: GenApi reports such a node as NA.
    const bool implemented = arv_gc_feature_node_is_implemented(f, &error);
    if (error) {
        g_error_free(error);
        return NA;
    }
    if (!implemented) return NI;
    const bool available = arv_gc_feature_node_is_available(f, &error);
    if (error) {
        g_error_free(error);
        return NA;
    }
    if (!available) return NA;
    EAccessMode mode;
    switch (arv_gc_feature_node_get_actual_access_mode(f)) {
    case ARV_GC_ACCESS_MODE_RO: mode = RO; break;
    case ARV_GC_ACCESS_MODE_WO: mode = WO; break;
    case ARV_GC_ACCESS_MODE_RW: mode = RW; break;
    default: mode = NA; break;
    }
    const bool locked = arv_gc_feature_node_is_locked(f, &error);
    if (error) {
        g_error_free(error);
        return NA;
    }
    if (locked) mode = mode == RW ? RO : mode == WO ? NA : mode;
    if (link.valueNode) mode = CombineAccess(mode, link.valueNode->GetAccessMode());
    return mode;
}

void RaiseArvError(const Node& node, const char* function, GError* error) {
    const int code = CodeOf(error);
    std::string message = error->message ? error->message : "Aravis reported an error";
    g_error_free(error);
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
    GError* error = nullptr;
    const int64_t value = arv_gc_integer_get_value(m_integer, &error);
    if (error) RaiseArvError(*this, "GetValue", error);
    m_cache = value;
    m_valid = m_link.valueCacheable;
    return value;
}

void ArvIntegerNode::DoSetValue(int64_t value) {
    m_valid = false;
    ARV_DO(arv_gc_integer_set_value(m_integer, value, &error_), "SetValue");
}

int64_t ArvIntegerNode::DoGetMin() { return ARV_CALL(arv_gc_integer_get_min(m_integer, &error_), "GetMin"); }
int64_t ArvIntegerNode::DoGetMax() { return ARV_CALL(arv_gc_integer_get_max(m_integer, &error_), "GetMax"); }
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
    GError* error = nullptr;
    const double value = arv_gc_float_get_value(m_float, &error);
    if (error) RaiseArvError(*this, "GetValue", error);
    m_cache = value;
    m_valid = m_link.valueCacheable;
    return value;
}

void ArvFloatNode::DoSetValue(double value) {
    m_valid = false;
    ARV_DO(arv_gc_float_set_value(m_float, value, &error_), "SetValue");
}

double ArvFloatNode::DoGetMin() { return ARV_CALL(arv_gc_float_get_min(m_float, &error_), "GetMin"); }
double ArvFloatNode::DoGetMax() { return ARV_CALL(arv_gc_float_get_max(m_float, &error_), "GetMax"); }
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
    GError* error = nullptr;
    const char* value = arv_gc_string_get_value(m_string, &error);
    if (error) RaiseArvError(*this, "GetValue", error);
    m_cache = value ? value : "";
    m_valid = m_link.valueCacheable;
    return m_cache;
}

void ArvStringNode::DoSetValue(const std::string& value) {
    m_valid = false;
    ARV_DO(arv_gc_string_set_value(m_string, value.c_str(), &error_), "SetValue");
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
}

// Command ------------------------------------------------------------------

ArvCommandNode::ArvCommandNode(NodeMapBase& map, NodeInfo info, ArvGcFeatureNode* feature,
                               ArvGcPropertyNode* commandValue)
    : ArvNode(feature, map, std::move(info)), m_command(ARV_GC_COMMAND(feature)), m_commandValue(commandValue) {}

void ArvCommandNode::DoExecute() {
    ARV_DO(arv_gc_command_execute(m_command, &error_), "Execute");
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
    GError* error = nullptr;
    const int64_t value = arv_gc_enumeration_get_int_value(m_enumeration, &error);
    if (error) RaiseArvError(*this, "GetIntValue", error);
    m_cache = value;
    m_valid = m_link.valueCacheable;
    return value;
}

void ArvEnumerationNode::DoSetIntValue(int64_t value) {
    m_valid = false;
    ARV_DO(arv_gc_enumeration_set_int_value(m_enumeration, value, &error_), "SetIntValue");
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
        return;
    }
    // A shorter write replaces the first bytes and keeps the rest.
    std::vector<uint8_t> all(static_cast<size_t>(full));
    ARV_DO(arv_gc_register_get(m_register, all.data(), static_cast<guint64>(full), &error_), "Set");
    std::copy(buffer, buffer + length, all.begin());
    ARV_DO(arv_gc_register_set(m_register, all.data(), static_cast<guint64>(full), &error_), "Set");
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

EAccessMode ArvPortNode::ComputeAccessMode() const { return RW; }

void ArvPortNode::Read(void* pBuffer, int64_t Address, int64_t Length) {
    NodeMapBase::MapLock lock(m_map);
    if (!pBuffer || Length < 0 || Address < 0)
        ORV_NODE_FAIL(ORVANE_ERR_GENICAM_INVALID_ARGUMENT, "null buffer or negative address or length");
    if (Length == 0) return;
    ARV_DO(arv_gc_port_read(m_port, pBuffer, static_cast<guint64>(Address), static_cast<guint64>(Length), &error_),
           "Read");
}

void ArvPortNode::Write(const void* pBuffer, int64_t Address, int64_t Length) {
    NodeMapBase::MapLock lock(m_map);
    if (!pBuffer || Length < 0 || Address < 0)
        ORV_NODE_FAIL(ORVANE_ERR_GENICAM_INVALID_ARGUMENT, "null buffer or negative address or length");
    if (Length == 0) return;
    ARV_DO(arv_gc_port_write(m_port, const_cast<void*>(pBuffer), static_cast<guint64>(Address),
                             static_cast<guint64>(Length), &error_),
           "Write");
    m_map.InvalidateNodes();
}

} // namespace impl
} // namespace GenApi
} // namespace Orvane
