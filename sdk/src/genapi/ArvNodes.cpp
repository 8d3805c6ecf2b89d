#include "genapi/ArvNodes.h"

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <limits>
#include <vector>

#include "core/Raise.h"
#include "genapi/TextFormat.h"
#include "genapi/XmlValidation.h"

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
#define ARV_CALL(expr)                                 \
    [&, at_ = ORV_HERE] {                              \
        GError* error_ = nullptr;                      \
        auto value_ = expr;                            \
        if (error_) RaiseArvError(*this, at_, error_); \
        return value_;                                 \
    }()

#define ARV_DO(expr)                                        \
    do {                                                    \
        GError* error_ = nullptr;                           \
        expr;                                               \
        if (error_) RaiseArvError(*this, ORV_HERE, error_); \
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
    if (link.indexNode) {
        // The target selected now: RO makes the node RO, WO makes it WO, and
        // an index that selects nothing readable leaves it NA.
        Node* selected = nullptr;
        try {
            selected = SelectedTarget(link);
        } catch (const Exception&) {
            return NA;
        }
        if (selected) mode = CombineAccess(mode, selected->GetAccessMode());
    }
    return mode;
}

uint64_t CheckedRegisterLength(const Node& node, ArvGcFeatureNode* feature, const SourcePosition& at) {
    GError* error = nullptr;
    const gint64 length = static_cast<gint64>(arv_gc_register_get_length(ARV_GC_REGISTER(feature), &error));
    if (error) RaiseArvError(node, at, error);
    if (length < 0 || length > kMaxRegisterLength)
        node.Fail(
            at, ORVANE_ERR_GENICAM_PROPERTY,
            "the register length " + std::to_string(length) + " is outside 0.." + std::to_string(kMaxRegisterLength));
    return static_cast<uint64_t>(length);
}

Node* SelectedTarget(const ArvLink& link) {
    if (!link.indexNode) return link.valueNode;
    auto* index = dynamic_cast<IInteger*>(link.indexNode);
    if (!index) return link.defaultTarget;
    const int64_t selected = index->GetValue();
    for (const auto& target : link.indexedTargets)
        if (target.first == selected) return target.second;
    return link.defaultTarget;
}

std::string PortAbsence(const ArvLink& link) {
    return link.dataPort && !link.dataPort->HasData() ? link.dataPort->Absence() : std::string();
}

namespace {

// Reads the bytes of a register on a chunk or event port: its address and
// length as Aravis evaluates them (pIndex, pLength), its data from the port.
uint64_t PortRegisterBytes(const Node& node, const ArvLink& link, uint8_t* out, uint64_t capacity,
                           const SourcePosition& at) {
    if (!ARV_IS_GC_REGISTER(link.feature))
        node.Fail(at, ORVANE_ERR_NOT_SUPPORTED, "this register kind cannot be read from chunk or event data");
    ArvGcRegister* reg = ARV_GC_REGISTER(link.feature);
    GError* error = nullptr;
    const uint64_t address = arv_gc_register_get_address(reg, &error);
    if (error) RaiseArvError(node, at, error);
    const uint64_t length = arv_gc_register_get_length(reg, &error);
    if (error) RaiseArvError(node, at, error);
    if (length == 0 || length > capacity)
        node.Fail(at, ORVANE_ERR_GENICAM_PROPERTY,
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

int64_t PortInteger(const Node& node, const ArvLink& link, const SourcePosition& at) {
    uint8_t bytes[8];
    const uint64_t length = PortRegisterBytes(node, link, bytes, sizeof bytes, at);
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
            node.Fail(at, ORVANE_ERR_GENICAM_PROPERTY,
                      "bit field LSB " + std::to_string(l.lsb) + ", MSB " + std::to_string(l.msb) +
                          " does not fit a register of " + std::to_string(length) + " bytes");
        width = static_cast<unsigned>(high - low + 1);
        v >>= low;
        if (width < 64) v &= (uint64_t(1) << width) - 1;
    }
    if (l.isSigned && width < 64 && (v >> (width - 1)) & 1) v |= ~((uint64_t(1) << width) - 1);
    return static_cast<int64_t>(v);
}

double PortFloat(const Node& node, const ArvLink& link, const SourcePosition& at) {
    uint8_t bytes[8];
    const uint64_t length = PortRegisterBytes(node, link, bytes, sizeof bytes, at);
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
    node.Fail(at, ORVANE_ERR_GENICAM_PROPERTY, "a float register has 4 or 8 bytes, not " + std::to_string(length));
}

// The value of the node a pass-through node reads.
int64_t ServedInteger(const Node& node, Node* source, bool ignoreCache, const SourcePosition& at) {
    if (auto* i = dynamic_cast<IInteger*>(source)) return i->GetValue(false, ignoreCache);
    if (auto* f = dynamic_cast<IFloat*>(source))
        return static_cast<int64_t>(std::llround(f->GetValue(false, ignoreCache)));
    node.Fail(at, ORVANE_ERR_GENICAM_PROPERTY, "its pValue is neither an integer nor a float");
}

double ServedFloat(const Node& node, Node* source, bool ignoreCache, const SourcePosition& at) {
    if (auto* f = dynamic_cast<IFloat*>(source)) return f->GetValue(false, ignoreCache);
    if (auto* i = dynamic_cast<IInteger*>(source)) return static_cast<double>(i->GetValue(false, ignoreCache));
    node.Fail(at, ORVANE_ERR_GENICAM_PROPERTY, "its pValue is neither an integer nor a float");
}

} // namespace

void RaiseArvError(const Node& node, const SourcePosition& at, GError* error) {
    const int code = CodeOf(error);
    std::string message = error->message ? error->message : "";
    if (message.empty())
        message = std::string("the GenICam engine reported error ") + std::to_string(error->code) + " of " +
                  g_quark_to_string(error->domain) + " without a description";
    g_error_free(error);
    // A device found lost while the access waited: the loss is the error.
    node.CheckDevice(at, message);
    node.Fail(at, code, message);
}

namespace {

// A node's value target as numbers: its bounds, and its increment for
// integer targets (0 for floats).
struct TargetRange {
    double min, max, inc;
    bool integer;
};

bool RangeOf(Node* target, TargetRange& out) {
    if (auto* i = dynamic_cast<IInteger*>(target)) {
        out = {static_cast<double>(i->GetMin()), static_cast<double>(i->GetMax()),
               static_cast<double>(i->GetIncMode() == fixedIncrement ? i->GetInc() : 1), true};
        return true;
    }
    if (auto* f = dynamic_cast<IFloat*>(target)) {
        out = {f->GetMin(), f->GetMax(), 0.0, false};
        return true;
    }
    return false;
}

// The FormulaFrom of a Converter or IntConverter, evaluated with its
// variables, constants and expressions as they are now and TO set freely:
// the converter's bounds are the formula's values at its target's bounds.
class ConverterFormula {
public:
    ConverterFormula(const Node& node, ArvGcFeatureNode* feature, const ArvNodeMap& map) : m_node(node) {
        m_evaluator = arv_evaluator_new(nullptr);
        for (ArvDomNode* c = arv_dom_node_get_first_child(ARV_DOM_NODE(feature)); c;
             c = arv_dom_node_get_next_sibling(c)) {
            if (!ARV_IS_GC_PROPERTY_NODE(c)) continue;
            ArvGcPropertyNode* p = ARV_GC_PROPERTY_NODE(c);
            const char* name = arv_gc_property_node_get_name(p);
            switch (arv_gc_property_node_get_node_type(p)) {
            case ARV_GC_PROPERTY_NODE_TYPE_FORMULA_FROM: m_formula = Text(p); break;
            case ARV_GC_PROPERTY_NODE_TYPE_EXPRESSION:
                if (name) arv_evaluator_set_sub_expression(m_evaluator, name, Text(p).c_str());
                break;
            case ARV_GC_PROPERTY_NODE_TYPE_CONSTANT:
                if (name) arv_evaluator_set_constant(m_evaluator, name, Text(p).c_str());
                break;
            case ARV_GC_PROPERTY_NODE_TYPE_P_VARIABLE: {
                Node* variable = map.NodeOf(arv_gc_property_node_get_linked_node(p));
                if (!name || !variable) break;
                if (auto* i = dynamic_cast<IInteger*>(variable))
                    arv_evaluator_set_int64_variable(m_evaluator, name, i->GetValue());
                else if (auto* f = dynamic_cast<IFloat*>(variable))
                    arv_evaluator_set_double_variable(m_evaluator, name, f->GetValue());
                else if (auto* b = dynamic_cast<IBoolean*>(variable))
                    arv_evaluator_set_int64_variable(m_evaluator, name, b->GetValue() ? 1 : 0);
                else if (auto* e = dynamic_cast<IEnumeration*>(variable))
                    arv_evaluator_set_int64_variable(m_evaluator, name, e->GetIntValue());
                break;
            }
            default: break;
            }
        }
        arv_evaluator_set_expression(m_evaluator, m_formula.c_str());
    }
    ~ConverterFormula() { g_object_unref(m_evaluator); }
    ConverterFormula(const ConverterFormula&) = delete;
    ConverterFormula& operator=(const ConverterFormula&) = delete;

    const std::string& Formula() const { return m_formula; }

    // The formula at TO = `to`; false (with the reason) when it cannot be
    // evaluated there or gives no finite number.
    bool At(double to, bool integer, double& out, std::string& why) {
        if (integer)
            arv_evaluator_set_int64_variable(m_evaluator, "TO", static_cast<gint64>(to));
        else
            arv_evaluator_set_double_variable(m_evaluator, "TO", to);
        GError* error = nullptr;
        const double v = arv_evaluator_evaluate_as_double(m_evaluator, &error);
        if (error) {
            why = error->message && *error->message ? error->message : "the formula cannot be evaluated";
            g_error_free(error);
            return false;
        }
        if (!std::isfinite(v)) {
            why = "the formula gives " + FormatFloatExact(v);
            return false;
        }
        out = v;
        return true;
    }

    // The formula at a bound of its target; where it cannot be evaluated
    // (a division by zero), at the nearest value towards `other` where it
    // can. Raises ORVANE_ERR_GENICAM_RUN_TIME, naming node and formula, when
    // there is none.
    double AtBound(const SourcePosition& at, const TargetRange& range, double bound, double other, const char* which) {
        double out = 0.0;
        std::string why;
        if (At(bound, range.integer, out, why)) return out;
        const double direction = other >= bound ? 1.0 : -1.0;
        double step = range.integer ? std::max(range.inc, 1.0) : std::max(std::fabs(bound), 1.0) * 1e-9;
        std::string ignored;
        for (int i = 0; i < 64; ++i, step *= 2) {
            const double to = bound + direction * step;
            if ((direction > 0 && to > other) || (direction < 0 && to < other)) break;
            if (At(to, range.integer, out, ignored)) return out;
        }
        m_node.Fail(at, ORVANE_ERR_GENICAM_RUN_TIME,
                    "the formula '" + m_formula + "' cannot be evaluated at its value node's " + which + " (" +
                        FormatFloatExact(bound) + ") nor near it: " + why);
    }

private:
    static std::string Text(ArvGcPropertyNode* p) {
        GError* error = nullptr;
        const char* t = arv_gc_property_node_get_string(p, &error);
        if (error) g_error_free(error);
        return t ? t : "";
    }

    const Node& m_node;
    ArvEvaluator* m_evaluator;
    std::string m_formula;
};

// The bounds of a converter: its formula at its target's bounds, swapped when
// the formula decreases.
void ConverterBounds(const Node& node, const ArvLink& link, const ArvNodeMap& map, const SourcePosition& at,
                     double& min, double& max) {
    TargetRange range{};
    if (!link.valueNode || !RangeOf(link.valueNode, range))
        node.Fail(at, ORVANE_ERR_GENICAM_PROPERTY, "the converter has no numeric pValue to take its bounds from");
    ConverterFormula formula(node, link.feature, map);
    if (formula.Formula().empty())
        node.Fail(at, ORVANE_ERR_GENICAM_PROPERTY, "the converter has no FormulaFrom to take its bounds from");
    const double low = formula.AtBound(at, range, range.min, range.max, "minimum");
    const double high = formula.AtBound(at, range, range.max, range.min, "maximum");
    min = std::min(low, high);
    max = std::max(low, high);
}

// Verifies `value` (written to `node`) against the value target it is
// written through now: that target's own range and increment.
template <class T>
void CheckThroughTarget(const Node& node, const ArvLink& link, T value, const SourcePosition& at) {
    if (!link.passThrough) return;
    Node* target = SelectedTarget(link);
    if (!target) return;
    try {
        if (auto* i = dynamic_cast<IntegerNode*>(target))
            i->CheckRange(static_cast<int64_t>(std::llround(static_cast<double>(value))), at);
        else if (auto* f = dynamic_cast<FloatNode*>(target))
            f->CheckRange(static_cast<double>(value), at);
    } catch (const Exception& e) {
        node.Fail(at, e.GetError(), "its value node refuses the value (" + std::string(e.GetErrorMessage()) + ")");
    }
}

double Clamp(double v, double lo, double hi) { return v < lo ? lo : v > hi ? hi : v; }

} // namespace

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
        value = PortInteger(*this, m_link, ORV_HERE);
    } else if (m_link.servedBy) {
        value = ServedInteger(*this, m_link.servedBy, ignoreCache, ORV_HERE);
    } else {
        if (m_link.lengthComputed) CheckedRegisterLength(*this, m_link.feature, ORV_HERE);
        BeforeDeviceRead();
        GError* error = nullptr;
        value = arv_gc_integer_get_value(m_integer, &error);
        if (error) RaiseArvError(*this, ORV_HERE, error);
    }
    m_cache = value;
    m_valid = m_link.valueCacheable;
    return value;
}

void ArvIntegerNode::DoSetValue(int64_t value) {
    m_valid = false;
    if (m_link.lengthComputed) CheckedRegisterLength(*this, m_link.feature, ORV_HERE);
    ARV_DO(arv_gc_integer_set_value(m_integer, value, &error_));
    AfterDeviceWrite();
}

// Nodes without limits (swiss knives) have the whole range of their type;
// Aravis reports them as a property that is not defined.
template <class T, class Get>
T LimitOf(const Node& node, Get&& get, T unlimited, const SourcePosition& at) {
    GError* error = nullptr;
    const T value = get(&error);
    if (!error) return value;
    if (error->domain == ARV_GC_ERROR && error->code == ARV_GC_ERROR_PROPERTY_NOT_DEFINED) {
        g_error_free(error);
        return unlimited;
    }
    RaiseArvError(node, at, error);
}

namespace {

constexpr double kInt64Low = -9223372036854775808.0; // -2^63
constexpr double kInt64High = 9223372036854775807.0; // rounds to 2^63

int64_t ToInt64(double v) {
    if (v <= kInt64Low) return std::numeric_limits<int64_t>::min();
    if (v >= kInt64High) return std::numeric_limits<int64_t>::max();
    return static_cast<int64_t>(std::llround(v));
}

} // namespace

int64_t ArvIntegerNode::DoGetMin() {
    if (ARV_IS_GC_CONVERTER(m_link.feature)) {
        double min = 0, max = 0;
        ConverterBounds(*this, m_link, ArvMap(), ORV_HERE, min, max);
        return ToInt64(std::ceil(min));
    }
    int64_t own = LimitOf<int64_t>(
        *this, [&](GError** e) { return arv_gc_integer_get_min(m_integer, e); }, std::numeric_limits<int64_t>::min(),
        ORV_HERE);
    TargetRange range{};
    if (m_link.passThrough && m_link.valueNode && RangeOf(m_link.valueNode, range))
        own = std::max(own, ToInt64(std::ceil(Clamp(range.min, kInt64Low, kInt64High))));
    return own;
}
int64_t ArvIntegerNode::DoGetMax() {
    if (ARV_IS_GC_CONVERTER(m_link.feature)) {
        double min = 0, max = 0;
        ConverterBounds(*this, m_link, ArvMap(), ORV_HERE, min, max);
        return ToInt64(std::floor(max));
    }
    int64_t own = LimitOf<int64_t>(
        *this, [&](GError** e) { return arv_gc_integer_get_max(m_integer, e); }, std::numeric_limits<int64_t>::max(),
        ORV_HERE);
    TargetRange range{};
    if (m_link.passThrough && m_link.valueNode && RangeOf(m_link.valueNode, range))
        own = std::min(own, ToInt64(std::floor(Clamp(range.max, kInt64Low, kInt64High))));
    return own;
}
void ArvIntegerNode::CheckThrough(int64_t value, const SourcePosition& at) {
    CheckThroughTarget(*this, m_link, value, at);
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
        value = PortFloat(*this, m_link, ORV_HERE);
    } else if (m_link.servedBy) {
        value = ServedFloat(*this, m_link.servedBy, ignoreCache, ORV_HERE);
    } else {
        if (m_link.lengthComputed) CheckedRegisterLength(*this, m_link.feature, ORV_HERE);
        BeforeDeviceRead();
        GError* error = nullptr;
        value = arv_gc_float_get_value(m_float, &error);
        if (error) RaiseArvError(*this, ORV_HERE, error);
    }
    m_cache = value;
    m_valid = m_link.valueCacheable;
    return value;
}

void ArvFloatNode::DoSetValue(double value) {
    m_valid = false;
    if (m_link.lengthComputed) CheckedRegisterLength(*this, m_link.feature, ORV_HERE);
    ARV_DO(arv_gc_float_set_value(m_float, value, &error_));
    AfterDeviceWrite();
}

double ArvFloatNode::DoGetMin() {
    if (ARV_IS_GC_CONVERTER(m_link.feature)) {
        double min = 0, max = 0;
        ConverterBounds(*this, m_link, ArvMap(), ORV_HERE, min, max);
        return min;
    }
    double own = LimitOf<double>(
        *this, [&](GError** e) { return arv_gc_float_get_min(m_float, e); }, -std::numeric_limits<double>::max(),
        ORV_HERE);
    TargetRange range{};
    if (m_link.passThrough && m_link.valueNode && RangeOf(m_link.valueNode, range)) own = std::max(own, range.min);
    return own;
}
double ArvFloatNode::DoGetMax() {
    if (ARV_IS_GC_CONVERTER(m_link.feature)) {
        double min = 0, max = 0;
        ConverterBounds(*this, m_link, ArvMap(), ORV_HERE, min, max);
        return max;
    }
    double own = LimitOf<double>(
        *this, [&](GError** e) { return arv_gc_float_get_max(m_float, e); }, std::numeric_limits<double>::max(),
        ORV_HERE);
    TargetRange range{};
    if (m_link.passThrough && m_link.valueNode && RangeOf(m_link.valueNode, range)) own = std::min(own, range.max);
    return own;
}
// A float has an increment only when its XML gives one: the increment of an
// integer register underneath is no increment of the float.
bool ArvFloatNode::DoHasInc() { return m_hasInc; }
double ArvFloatNode::DoGetInc() {
    if (!m_hasInc) return 0.0;
    // Reported as the XML evaluates it, zero or negative included.
    return ARV_CALL(arv_gc_float_get_inc(m_float, &error_));
}
void ArvFloatNode::CheckThrough(double value, const SourcePosition& at) {
    CheckThroughTarget(*this, m_link, value, at);
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
        const uint64_t length = CheckedRegisterLength(*this, m_link.feature, ORV_HERE);
        std::vector<uint8_t> bytes(static_cast<size_t>(length));
        if (length > 0) PortRegisterBytes(*this, m_link, bytes.data(), length, ORV_HERE);
        const auto end = std::find(bytes.begin(), bytes.end(), uint8_t(0));
        m_cache.assign(bytes.begin(), end);
    } else {
        if (m_link.lengthComputed) CheckedRegisterLength(*this, m_link.feature, ORV_HERE);
        BeforeDeviceRead();
        GError* error = nullptr;
        const char* value = arv_gc_string_get_value(m_string, &error);
        if (error) RaiseArvError(*this, ORV_HERE, error);
        m_cache = value ? value : "";
    }
    m_valid = m_link.valueCacheable;
    return m_cache;
}

void ArvStringNode::DoSetValue(const std::string& value) {
    m_valid = false;
    if (m_link.lengthComputed) CheckedRegisterLength(*this, m_link.feature, ORV_HERE);
    ARV_DO(arv_gc_string_set_value(m_string, value.c_str(), &error_));
    AfterDeviceWrite();
}

int64_t ArvStringNode::DoGetMaxLength() {
    if (m_link.lengthComputed) return static_cast<int64_t>(CheckedRegisterLength(*this, m_link.feature, ORV_HERE));
    return ARV_CALL(arv_gc_string_get_max_length(m_string, &error_));
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
    if (error) RaiseArvError(*this, ORV_HERE, error);
    m_cache = value;
    m_valid = m_link.valueCacheable;
    return value;
}

void ArvBooleanNode::DoSetValue(bool value) {
    m_valid = false;
    ARV_DO(arv_gc_boolean_set_value(m_boolean, value, &error_));
    AfterDeviceWrite();
}

// Command ------------------------------------------------------------------

ArvCommandNode::ArvCommandNode(NodeMapBase& map, NodeInfo info, ArvGcFeatureNode* feature,
                               ArvGcPropertyNode* commandValue)
    : ArvNode(feature, map, std::move(info)), m_command(ARV_GC_COMMAND(feature)), m_commandValue(commandValue) {}

void ArvCommandNode::DoExecute() {
    ARV_DO(arv_gc_command_execute(m_command, &error_));
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
    if (m_commandValue) commandValue = ARV_CALL(arv_gc_property_node_get_int64(m_commandValue, &error_));
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
        value = ServedInteger(*this, m_link.servedBy, ignoreCache, ORV_HERE);
    } else {
        BeforeDeviceRead();
        GError* error = nullptr;
        value = arv_gc_enumeration_get_int_value(m_enumeration, &error);
        if (error) RaiseArvError(*this, ORV_HERE, error);
    }
    m_cache = value;
    m_valid = m_link.valueCacheable;
    return value;
}

void ArvEnumerationNode::DoSetIntValue(int64_t value) {
    m_valid = false;
    ARV_DO(arv_gc_enumeration_set_int_value(m_enumeration, value, &error_));
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
        if (error) RaiseArvError(*this, ORV_HERE, error);
        // The whole register must be in the data, even when fewer bytes are asked for.
        if (full > 0) m_link.dataPort->ReadData(*this, nullptr, address, static_cast<uint64_t>(full));
        m_link.dataPort->ReadData(*this, buffer, address, static_cast<uint64_t>(std::min(length, full)));
        return;
    }
    BeforeDeviceRead();
    if (length >= full) {
        ARV_DO(arv_gc_register_get(m_register, buffer, static_cast<guint64>(length), &error_));
        return;
    }
    // Aravis reads whole registers only.
    std::vector<uint8_t> all(static_cast<size_t>(full));
    ARV_DO(arv_gc_register_get(m_register, all.data(), static_cast<guint64>(full), &error_));
    std::copy(all.begin(), all.begin() + length, buffer);
}

void ArvRegisterNode::DoSet(const uint8_t* buffer, int64_t length) {
    const int64_t full = DoGetLength();
    if (length >= full) {
        ARV_DO(arv_gc_register_set(m_register, buffer, static_cast<guint64>(full), &error_));
        AfterDeviceWrite();
        return;
    }
    // A shorter write replaces the first bytes and keeps the rest.
    std::vector<uint8_t> all(static_cast<size_t>(full));
    ARV_DO(arv_gc_register_get(m_register, all.data(), static_cast<guint64>(full), &error_));
    std::copy(buffer, buffer + length, all.begin());
    ARV_DO(arv_gc_register_set(m_register, all.data(), static_cast<guint64>(full), &error_));
    AfterDeviceWrite();
}

int64_t ArvRegisterNode::DoGetLength() {
    return static_cast<int64_t>(CheckedRegisterLength(*this, m_link.feature, ORV_HERE));
}

int64_t ArvRegisterNode::DoGetAddress() {
    return static_cast<int64_t>(ARV_CALL(arv_gc_register_get_address(m_register, &error_)));
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
        reader.Fail(ORV_HERE, ORVANE_ERR_GENICAM_ACCESS, "the node is not readable (access mode NA): " + Absence());
    if (address > m_size || length > m_size - address) {
        char text[160];
        std::snprintf(text, sizeof text,
                      "reading %llu bytes at offset %llu of %s 0x%llX: the data holds only %zu bytes",
                      static_cast<unsigned long long>(length), static_cast<unsigned long long>(address),
                      m_source == Source::Chunk ? "chunk" : "event", static_cast<unsigned long long>(m_id), m_size);
        reader.Fail(ORV_HERE, ORVANE_ERR_INVALID_BUFFER, text);
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
    CheckDevice(ORV_HERE);
    if (ArvNodeMap::DeviceObserver* observer = ArvMap().Observer()) {
        const std::string why =
            observer->PortRangeError(static_cast<uint64_t>(Address), static_cast<uint64_t>(Length), false);
        if (!why.empty()) ORV_NODE_FAIL(ORVANE_ERR_GENICAM_OUT_OF_RANGE, why);
    }
    if (Length == 0) return;
    ARV_DO(arv_gc_port_read(m_port, pBuffer, static_cast<guint64>(Address), static_cast<guint64>(Length), &error_));
}

void ArvPortNode::Write(const void* pBuffer, int64_t Address, int64_t Length) {
    NodeMapBase::MapLock lock(m_map);
    if (!pBuffer || Length < 0 || Address < 0)
        ORV_NODE_FAIL(ORVANE_ERR_GENICAM_INVALID_ARGUMENT, "null buffer or negative address or length");
    if (m_source != Source::Device)
        ORV_NODE_FAIL(ORVANE_ERR_GENICAM_ACCESS,
                      std::string("a ") + (m_source == Source::Chunk ? "chunk" : "event") + " port is read-only");
    CheckDevice(ORV_HERE);
    if (ArvNodeMap::DeviceObserver* observer = ArvMap().Observer()) {
        const std::string why =
            observer->PortRangeError(static_cast<uint64_t>(Address), static_cast<uint64_t>(Length), true);
        if (!why.empty()) ORV_NODE_FAIL(ORVANE_ERR_GENICAM_OUT_OF_RANGE, why);
    }
    if (Length == 0) return;
    ARV_DO(arv_gc_port_write(m_port, const_cast<void*>(pBuffer), static_cast<guint64>(Address),
                             static_cast<guint64>(Length), &error_));
    m_map.InvalidateNodes();
    if (ArvNodeMap::DeviceObserver* observer = ArvMap().Observer())
        observer->AfterWrite(static_cast<uint64_t>(Address), static_cast<uint64_t>(Length));
}

} // namespace impl
} // namespace GenApi
} // namespace Orvane
