#include "genapi/ValueNodes.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "genapi/NodeMapBase.h"
#include "genapi/TextFormat.h"

namespace Orvane {
namespace GenApi {
namespace impl {

using GenICam::gcstring;
using Lock = NodeMapBase::MapLock;

// Integer and float ------------------------------------------------------

namespace {

// Why a verified read failed: the device's value is outside the node's limits.
std::string ReportedOutOfRange(int64_t value, int64_t min, int64_t max) {
    return "the device reports " + std::to_string(value) + ", outside [" + std::to_string(min) + ", " +
           std::to_string(max) + "]";
}

std::string ReportedOutOfRange(double value, double, double) {
    return "the device reports " + FormatFloatExact(value) + ", outside its range";
}

// Reads a value's text; `what` names what the text must be.
bool ParseNumber(const std::string& text, int64_t& value, const char*& what) {
    what = "an integer";
    return ParseInteger(text, value);
}

bool ParseNumber(const std::string& text, double& value, const char*& what) {
    what = "a number";
    return ParseFloat(text, value);
}

} // namespace

template <class T, class Interface, EInterfaceType Type>
void NumberNode<T, Interface, Type>::FromString(const gcstring& ValueStr, bool Verify) {
    T value = 0;
    const char* what = "";
    if (!ParseNumber(ValueStr.str(), value, what))
        this->Fail(ORV_HERE, ORVANE_ERR_GENICAM_INVALID_ARGUMENT, "'" + ValueStr.str() + "' is not " + what);
    SetValue(value, Verify);
}

template <class T, class Interface, EInterfaceType Type>
void NumberNode<T, Interface, Type>::SetValue(T Value, bool Verify) {
    Lock lock(this->m_map);
    this->CheckWritable(ORV_HERE);
    if (Verify) {
        CheckRange(Value, ORV_HERE);
        CheckThrough(Value, ORV_HERE);
    }
    DoSetValue(Value);
    this->m_map.NotifyChanged(*this);
}

template <class T, class Interface, EInterfaceType Type>
T NumberNode<T, Interface, Type>::GetValue(bool Verify, bool IgnoreCache) {
    Lock lock(this->m_map);
    this->CheckReadable(ORV_HERE);
    const T value = DoGetValue(IgnoreCache);
    if (Verify) {
        const T min = GetMin(), max = GetMax();
        if (value < min || value > max)
            this->Fail(ORV_HERE, ORVANE_ERR_GENICAM_OUT_OF_RANGE, ReportedOutOfRange(value, min, max));
    }
    return value;
}

template <class T, class Interface, EInterfaceType Type>
T NumberNode<T, Interface, Type>::GetMin() {
    Lock lock(this->m_map);
    return std::max(DoGetMin(), m_imposedMin);
}

template <class T, class Interface, EInterfaceType Type>
T NumberNode<T, Interface, Type>::GetMax() {
    Lock lock(this->m_map);
    return std::min(DoGetMax(), m_imposedMax);
}

template <class T, class Interface, EInterfaceType Type>
void NumberNode<T, Interface, Type>::ImposeMin(T Value) {
    Lock lock(this->m_map);
    m_imposedMin = Value;
    this->m_map.NotifyChanged(*this);
}

template <class T, class Interface, EInterfaceType Type>
void NumberNode<T, Interface, Type>::ImposeMax(T Value) {
    Lock lock(this->m_map);
    m_imposedMax = Value;
    this->m_map.NotifyChanged(*this);
}

template class NumberNode<int64_t, IInteger, intfIInteger>;
template class NumberNode<double, IFloat, intfIFloat>;

// Integer ------------------------------------------------------------------

gcstring IntegerNode::ToString(bool Verify, bool IgnoreCache) {
    Lock lock(m_map);
    return FormatInteger(GetValue(Verify, IgnoreCache), DoGetRepresentation());
}

void IntegerNode::CheckRange(int64_t value, const SourcePosition& at) {
    const int64_t min = GetMin(), max = GetMax();
    if (value < min)
        Fail(at, ORVANE_ERR_GENICAM_OUT_OF_RANGE,
             "value " + std::to_string(value) + " is less than the minimum " + std::to_string(min));
    if (value > max)
        Fail(at, ORVANE_ERR_GENICAM_OUT_OF_RANGE,
             "value " + std::to_string(value) + " is greater than the maximum " + std::to_string(max));
    if (GetIncMode() == fixedIncrement) {
        const int64_t inc = GetInc();
        if (inc > 1 && (static_cast<uint64_t>(value) - static_cast<uint64_t>(min)) % static_cast<uint64_t>(inc) != 0)
            Fail(at, ORVANE_ERR_GENICAM_OUT_OF_RANGE,
                 "value " + std::to_string(value) + " does not match the increment " + std::to_string(inc) +
                     " from the minimum " + std::to_string(min));
    } else if (GetIncMode() == listIncrement) {
        const std::vector<int64_t> valid = DoGetValidValues();
        if (std::find(valid.begin(), valid.end(), value) == valid.end())
            Fail(at, ORVANE_ERR_GENICAM_OUT_OF_RANGE,
                 "value " + std::to_string(value) + " is not in the list of valid values");
    }
}

EIncMode IntegerNode::GetIncMode() {
    Lock lock(m_map);
    return DoGetIncMode();
}
int64_t IntegerNode::GetInc() {
    Lock lock(m_map);
    if (DoGetIncMode() != fixedIncrement) return 1;
    const int64_t inc = DoGetInc();
    return inc > 0 ? inc : 1;
}
int64_autovector_t IntegerNode::GetListOfValidValues(bool bounded) {
    Lock lock(m_map);
    int64_autovector_t out;
    const int64_t min = GetMin(), max = GetMax();
    for (int64_t v : DoGetValidValues())
        if (!bounded || (v >= min && v <= max)) out.push_back(v);
    return out;
}
ERepresentation IntegerNode::GetRepresentation() { return DoGetRepresentation(); }
gcstring IntegerNode::GetUnit() const { return DoGetUnit(); }
// Float --------------------------------------------------------------------

gcstring FloatNode::ToString(bool Verify, bool IgnoreCache) {
    Lock lock(m_map);
    return FormatFloat(GetValue(Verify, IgnoreCache), DoGetDisplayNotation(), DoGetDisplayPrecision());
}

void FloatNode::CheckRange(double value, const SourcePosition& at) {
    if (std::isnan(value)) Fail(at, ORVANE_ERR_GENICAM_OUT_OF_RANGE, "value is not a number");
    const double min = GetMin(), max = GetMax();
    if (value < min)
        Fail(at, ORVANE_ERR_GENICAM_OUT_OF_RANGE,
             "value " + FormatFloatExact(value) + " is less than the minimum " + FormatFloatExact(min));
    if (value > max)
        Fail(at, ORVANE_ERR_GENICAM_OUT_OF_RANGE,
             "value " + FormatFloatExact(value) + " is greater than the maximum " + FormatFloatExact(max));
    if (HasInc()) {
        const double inc = GetInc();
        if (inc > 0) {
            const double steps = (value - min) / inc;
            if (std::fabs(steps - std::round(steps)) > 1e-6)
                Fail(at, ORVANE_ERR_GENICAM_OUT_OF_RANGE,
                     "value " + FormatFloatExact(value) + " does not match the increment " + FormatFloatExact(inc));
        }
    }
}

bool FloatNode::HasInc() {
    Lock lock(m_map);
    return DoHasInc();
}
EIncMode FloatNode::GetIncMode() { return HasInc() ? fixedIncrement : noIncrement; }
double FloatNode::GetInc() {
    Lock lock(m_map);
    return DoHasInc() ? DoGetInc() : 0.0;
}
double_autovector_t FloatNode::GetListOfValidValues(bool) { return {}; }
ERepresentation FloatNode::GetRepresentation() { return DoGetRepresentation(); }
gcstring FloatNode::GetUnit() const { return DoGetUnit(); }
EDisplayNotation FloatNode::GetDisplayNotation() const { return DoGetDisplayNotation(); }
int64_t FloatNode::GetDisplayPrecision() const { return DoGetDisplayPrecision(); }
// String -------------------------------------------------------------------

gcstring StringNode::ToString(bool Verify, bool IgnoreCache) { return GetValue(Verify, IgnoreCache); }
void StringNode::FromString(const gcstring& ValueStr, bool Verify) { SetValue(ValueStr, Verify); }

void StringNode::SetValue(const gcstring& Value, bool Verify) {
    Lock lock(m_map);
    CheckWritable(ORV_HERE);
    if (Verify) {
        const int64_t max = GetMaxLength();
        if (static_cast<int64_t>(Value.size()) > max)
            ORV_NODE_FAIL(ORVANE_ERR_GENICAM_OUT_OF_RANGE, "the text has " + std::to_string(Value.size()) +
                                                               " bytes, more than the maximum length " +
                                                               std::to_string(max));
    }
    DoSetValue(Value.str());
    m_map.NotifyChanged(*this);
}

gcstring StringNode::GetValue(bool, bool IgnoreCache) {
    Lock lock(m_map);
    CheckReadable(ORV_HERE);
    return DoGetValue(IgnoreCache);
}

int64_t StringNode::GetMaxLength() {
    Lock lock(m_map);
    return DoGetMaxLength();
}

// Boolean ------------------------------------------------------------------

gcstring BooleanNode::ToString(bool Verify, bool IgnoreCache) {
    return GetValue(Verify, IgnoreCache) ? "true" : "false";
}

void BooleanNode::FromString(const gcstring& ValueStr, bool Verify) {
    bool value = false;
    if (!ParseBoolean(ValueStr.str(), value))
        ORV_NODE_FAIL(ORVANE_ERR_GENICAM_INVALID_ARGUMENT,
                      "'" + ValueStr.str() + "' is not a boolean (true, false, 1, 0)");
    SetValue(value, Verify);
}

void BooleanNode::SetValue(bool Value, bool) {
    Lock lock(m_map);
    CheckWritable(ORV_HERE);
    DoSetValue(Value);
    m_map.NotifyChanged(*this);
}

bool BooleanNode::GetValue(bool, bool IgnoreCache) const {
    Lock lock(m_map);
    CheckReadable(ORV_HERE);
    return DoGetValue(IgnoreCache);
}

// Command ------------------------------------------------------------------

gcstring CommandNode::ToString(bool Verify, bool) { return IsDone(Verify) ? "1" : "0"; }

void CommandNode::FromString(const gcstring& ValueStr, bool Verify) {
    bool value = false;
    if (!ParseBoolean(ValueStr.str(), value))
        ORV_NODE_FAIL(ORVANE_ERR_GENICAM_INVALID_ARGUMENT,
                      "'" + ValueStr.str() + "' does not execute a command (1, true)");
    if (value) Execute(Verify);
}

void CommandNode::Execute(bool) {
    Lock lock(m_map);
    CheckWritable(ORV_HERE);
    DoExecute();
    m_map.NotifyChanged(*this);
}

bool CommandNode::IsDone(bool Verify) {
    Lock lock(m_map);
    if (Verify) {
        const EAccessMode mode = GetAccessMode();
        if (mode == NI || mode == NA)
            ORV_NODE_FAIL(ORVANE_ERR_GENICAM_ACCESS,
                          std::string("the command is not available (access mode ") + AccessModeName(mode) + ")");
    }
    return DoIsDone();
}

// Enumeration --------------------------------------------------------------

gcstring EnumerationNode::ToString(bool Verify, bool IgnoreCache) {
    Lock lock(m_map);
    return GetCurrentEntry(Verify, IgnoreCache)->GetSymbolic();
}

void EnumerationNode::FromString(const gcstring& ValueStr, bool Verify) {
    Lock lock(m_map);
    IEnumEntry* entry = GetEntryByName(ValueStr);
    if (!entry) ORV_NODE_FAIL(ORVANE_ERR_GENICAM_INVALID_ARGUMENT, "'" + ValueStr.str() + "' is not an entry");
    SetIntValue(entry->GetValue(), Verify);
}

void EnumerationNode::GetSymbolics(StringList_t& Symbolics) {
    Lock lock(m_map);
    Symbolics.clear();
    for (EnumEntryNode* e : m_entries) {
        const EAccessMode mode = e->GetAccessMode();
        if (mode != NI && mode != NA) Symbolics.push_back(e->GetSymbolic());
    }
}

void EnumerationNode::GetEntries(NodeList_t& Entries) {
    Lock lock(m_map);
    Entries.clear();
    for (EnumEntryNode* e : m_entries) Entries.push_back(e);
}

void EnumerationNode::SetIntValue(int64_t Value, bool Verify) {
    Lock lock(m_map);
    CheckWritable(ORV_HERE);
    if (Verify) {
        EnumEntryNode* entry = nullptr;
        for (EnumEntryNode* e : m_entries)
            if (e->GetValue() == Value) entry = e;
        if (!entry) ORV_NODE_FAIL(ORVANE_ERR_GENICAM_OUT_OF_RANGE, std::to_string(Value) + " is the value of no entry");
        const EAccessMode mode = entry->GetAccessMode();
        if (mode == NI || mode == NA)
            ORV_NODE_FAIL(ORVANE_ERR_GENICAM_ACCESS,
                          "the entry " + entry->GetSymbolic().str() + " is not available now");
    }
    DoSetIntValue(Value);
    m_map.NotifyChanged(*this);
}

int64_t EnumerationNode::GetIntValue(bool Verify, bool IgnoreCache) {
    Lock lock(m_map);
    CheckReadable(ORV_HERE);
    const int64_t value = DoGetIntValue(IgnoreCache);
    if (Verify && !GetEntry(value))
        ORV_NODE_FAIL(ORVANE_ERR_GENICAM_OUT_OF_RANGE,
                      "the device reports " + std::to_string(value) + ", the value of no entry");
    return value;
}

IEnumEntry* EnumerationNode::GetEntryByName(const gcstring& Symbolic) {
    for (EnumEntryNode* e : m_entries)
        if (e->GetSymbolic() == Symbolic || e->Info().name == Symbolic.str()) return e;
    return nullptr;
}

IEnumEntry* EnumerationNode::GetEntry(int64_t IntValue) {
    for (EnumEntryNode* e : m_entries)
        if (e->GetValue() == IntValue) return e;
    return nullptr;
}

IEnumEntry* EnumerationNode::GetCurrentEntry(bool Verify, bool IgnoreCache) {
    Lock lock(m_map);
    const int64_t value = GetIntValue(Verify, IgnoreCache);
    IEnumEntry* entry = GetEntry(value);
    if (!entry)
        ORV_NODE_FAIL(ORVANE_ERR_GENICAM_OUT_OF_RANGE,
                      "the device reports " + std::to_string(value) + ", the value of no entry");
    return entry;
}

void EnumerationNode::AddEntry(EnumEntryNode& entry) {
    m_entries.push_back(&entry);
    // An entry's availability is part of what the enumeration offers.
    AddDependency(entry, ctInvalidatingChildren);
}

// Enumeration entry --------------------------------------------------------

EnumEntryNode::EnumEntryNode(NodeMapBase& map, NodeInfo info, std::string symbolic, int64_t value)
    : TypedNode(map, std::move(info)), m_symbolic(std::move(symbolic)), m_value(value),
      m_numericValue(static_cast<double>(value)) {}

gcstring EnumEntryNode::ToString(bool, bool) { return m_symbolic; }

void EnumEntryNode::FromString(const gcstring&, bool) {
    ORV_NODE_FAIL(ORVANE_ERR_GENICAM_ACCESS, "an enumeration entry is read-only; set its enumeration instead");
}

// Category -----------------------------------------------------------------

gcstring CategoryNode::ToString(bool, bool) { return ""; }

void CategoryNode::FromString(const gcstring&, bool) {
    ORV_NODE_FAIL(ORVANE_ERR_GENICAM_ACCESS, "a category has no value to set");
}

void CategoryNode::GetFeatures(FeatureList_t& Features) {
    Lock lock(m_map);
    Features.clear();
    for (Node* n : m_features)
        if (auto* v = dynamic_cast<IValue*>(n)) Features.push_back(v);
}

// Register -----------------------------------------------------------------

gcstring RegisterNode::ToString(bool Verify, bool IgnoreCache) {
    Lock lock(m_map);
    const int64_t length = GetLength();
    std::vector<uint8_t> bytes(static_cast<size_t>(std::max<int64_t>(length, 0)));
    if (!bytes.empty()) Get(bytes.data(), length, Verify, IgnoreCache);
    std::string text = "0x";
    char hex[3];
    for (uint8_t b : bytes) {
        std::snprintf(hex, sizeof hex, "%02x", b);
        text += hex;
    }
    return text;
}

void RegisterNode::FromString(const gcstring& ValueStr, bool Verify) {
    const std::string& text = ValueStr.str();
    if (text.size() < 2 || text[0] != '0' || (text[1] != 'x' && text[1] != 'X') || text.size() % 2 != 0)
        ORV_NODE_FAIL(ORVANE_ERR_GENICAM_INVALID_ARGUMENT, "'" + text + "' is not 0x followed by hexadecimal bytes");
    std::vector<uint8_t> bytes;
    for (size_t i = 2; i < text.size(); i += 2) {
        unsigned v = 0;
        if (std::sscanf(text.c_str() + i, "%2x", &v) != 1 || !isxdigit(static_cast<unsigned char>(text[i])) ||
            !isxdigit(static_cast<unsigned char>(text[i + 1])))
            ORV_NODE_FAIL(ORVANE_ERR_GENICAM_INVALID_ARGUMENT,
                          "'" + text + "' is not 0x followed by hexadecimal bytes");
        bytes.push_back(static_cast<uint8_t>(v));
    }
    Set(bytes.data(), static_cast<int64_t>(bytes.size()), Verify);
}

void RegisterNode::CheckBuffer(const uint8_t* buffer, int64_t Length, bool Verify, const SourcePosition& at) {
    if (!buffer) Fail(at, ORVANE_ERR_GENICAM_INVALID_ARGUMENT, "the buffer is null");
    const int64_t length = GetLength();
    if (Length <= 0 || Length > length || (Verify && Length != length))
        Fail(at, ORVANE_ERR_GENICAM_INVALID_ARGUMENT,
             "length " + std::to_string(Length) + " does not fit the register's " + std::to_string(length) + " bytes");
}

void RegisterNode::Set(const uint8_t* pBuffer, int64_t Length, bool Verify) {
    Lock lock(m_map);
    CheckWritable(ORV_HERE);
    CheckBuffer(pBuffer, Length, Verify, ORV_HERE);
    DoSet(pBuffer, Length);
    m_map.NotifyChanged(*this);
}

void RegisterNode::Get(uint8_t* pBuffer, int64_t Length, bool Verify, bool IgnoreCache) {
    Lock lock(m_map);
    CheckReadable(ORV_HERE);
    CheckBuffer(pBuffer, Length, Verify, ORV_HERE);
    DoGet(pBuffer, Length, IgnoreCache);
}

int64_t RegisterNode::GetLength() {
    Lock lock(m_map);
    return DoGetLength();
}

int64_t RegisterNode::GetAddress() {
    Lock lock(m_map);
    return DoGetAddress();
}

void RegisterNode::SetReference(IBase* pBase) {
    Lock lock(m_map);
    Node* node = m_map.NodeFromBase(pBase);
    IPort* port = node ? dynamic_cast<IPort*>(node) : nullptr;
    if (!port) ORV_NODE_FAIL(ORVANE_ERR_GENICAM_INVALID_ARGUMENT, "the reference is not a port node of this node map");
    DoSetPort(*port);
    m_map.NotifyChanged(*this);
}

void RegisterNode::DoSetPort(IPort&) {
    ORV_NODE_FAIL(ORVANE_ERR_GENICAM_ACCESS, "this register cannot be bound to another port");
}

} // namespace impl
} // namespace GenApi
} // namespace Orvane
