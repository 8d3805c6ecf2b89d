// Typed node bases: the GenApi semantics of each node kind (access checks,
// verification, text conversion, limits) written once. Concrete node maps
// derive from these and supply the Do* hooks that reach the actual value
// (native SDK state, or Aravis's ArvGc).
#ifndef ORVANE_GENAPI_VALUE_NODES_H
#define ORVANE_GENAPI_VALUE_NODES_H

#include <limits>
#include <vector>

#include "genapi/Node.h"

namespace Orvane {
namespace GenApi {
namespace impl {

// What every typed node repeats: it is its own value's node, it names its
// principal interface type, and by default it keeps no value cache.
template <class Interface, EInterfaceType Type>
class TypedNode : public Node, public Interface {
public:
    using Node::Node;
    INode* GetNode() override { return this; }
    bool IsValueCacheValid() const override { return false; }
    EInterfaceType GetPrincipalInterfaceType() const override { return Type; }
};

// Integer and float nodes: the value checked against its limits (the
// device's, narrowed by imposed ones) on verified writes and reads.
template <class T, class Interface, EInterfaceType Type>
class NumberNode : public TypedNode<Interface, Type> {
public:
    using TypedNode<Interface, Type>::TypedNode;
    // Reads the value from text (see ParseInteger and ParseFloat, TextFormat.h) and sets it.
    void FromString(const GenICam::gcstring& ValueStr, bool Verify = true) override;
    void SetValue(T Value, bool Verify = true) override;
    T GetValue(bool Verify = false, bool IgnoreCache = false) override;
    T GetMin() override;
    T GetMax() override;
    void ImposeMin(T Value) override;
    void ImposeMax(T Value) override;

    // Raises ORVANE_ERR_GENICAM_OUT_OF_RANGE unless the value respects
    // minimum, maximum and increment.
    virtual void CheckRange(T value, const SourcePosition& at) = 0;

protected:
    // Verifies a value against what the node writes through (its value
    // target), after the node's own range; raises like CheckRange.
    virtual void CheckThrough(T, const SourcePosition&) {}
    virtual T DoGetValue(bool ignoreCache) = 0;
    virtual void DoSetValue(T value) = 0;
    virtual T DoGetMin() { return std::numeric_limits<T>::lowest(); }
    virtual T DoGetMax() { return std::numeric_limits<T>::max(); }

private:
    T m_imposedMin = std::numeric_limits<T>::lowest();
    T m_imposedMax = std::numeric_limits<T>::max();
};

class IntegerNode : public NumberNode<int64_t, IInteger, intfIInteger> {
public:
    using NumberNode::NumberNode;
    GenICam::gcstring ToString(bool Verify = false, bool IgnoreCache = false) override;
    EIncMode GetIncMode() override;
    int64_t GetInc() override;
    int64_autovector_t GetListOfValidValues(bool bounded = true) override;
    ERepresentation GetRepresentation() override;
    GenICam::gcstring GetUnit() const override;
    void CheckRange(int64_t value, const SourcePosition& at) override;

protected:
    virtual int64_t DoGetInc() { return 1; }
    virtual EIncMode DoGetIncMode() { return fixedIncrement; }
    virtual std::vector<int64_t> DoGetValidValues() { return {}; }
    virtual ERepresentation DoGetRepresentation() { return PureNumber; }
    virtual std::string DoGetUnit() const { return ""; }
};

class FloatNode : public NumberNode<double, IFloat, intfIFloat> {
public:
    using NumberNode::NumberNode;
    GenICam::gcstring ToString(bool Verify = false, bool IgnoreCache = false) override;
    bool HasInc() override;
    EIncMode GetIncMode() override;
    double GetInc() override;
    double_autovector_t GetListOfValidValues(bool bounded = true) override;
    ERepresentation GetRepresentation() override;
    GenICam::gcstring GetUnit() const override;
    EDisplayNotation GetDisplayNotation() const override;
    int64_t GetDisplayPrecision() const override;
    void CheckRange(double value, const SourcePosition& at) override;

protected:
    virtual bool DoHasInc() { return false; }
    virtual double DoGetInc() { return 0.0; }
    virtual ERepresentation DoGetRepresentation() const { return PureNumber; }
    virtual std::string DoGetUnit() const { return ""; }
    virtual EDisplayNotation DoGetDisplayNotation() const { return fnAutomatic; }
    virtual int64_t DoGetDisplayPrecision() const { return 6; }
};

class StringNode : public TypedNode<IString, intfIString> {
public:
    using TypedNode::TypedNode;
    GenICam::gcstring ToString(bool Verify = false, bool IgnoreCache = false) override;
    void FromString(const GenICam::gcstring& ValueStr, bool Verify = true) override;
    void SetValue(const GenICam::gcstring& Value, bool Verify = true) override;
    GenICam::gcstring GetValue(bool Verify = false, bool IgnoreCache = false) override;
    int64_t GetMaxLength() override;

protected:
    virtual std::string DoGetValue(bool ignoreCache) = 0;
    virtual void DoSetValue(const std::string& value) = 0;
    virtual int64_t DoGetMaxLength() { return 1 << 20; }
};

class BooleanNode : public TypedNode<IBoolean, intfIBoolean> {
public:
    using TypedNode::TypedNode;
    GenICam::gcstring ToString(bool Verify = false, bool IgnoreCache = false) override;
    void FromString(const GenICam::gcstring& ValueStr, bool Verify = true) override;
    void SetValue(bool Value, bool Verify = true) override;
    bool GetValue(bool Verify = false, bool IgnoreCache = false) const override;

protected:
    virtual bool DoGetValue(bool ignoreCache) const = 0;
    virtual void DoSetValue(bool value) = 0;
};

class CommandNode : public TypedNode<ICommand, intfICommand> {
public:
    using TypedNode::TypedNode;
    // A command's text is its completion state: "1" when done, "0" while running.
    GenICam::gcstring ToString(bool Verify = false, bool IgnoreCache = false) override;
    // Any text that reads as true (1, true) executes the command.
    void FromString(const GenICam::gcstring& ValueStr, bool Verify = true) override;
    void Execute(bool Verify = true) override;
    bool IsDone(bool Verify = true) override;

protected:
    virtual void DoExecute() = 0;
    virtual bool DoIsDone() = 0;
};

class EnumEntryNode;

class EnumerationNode : public TypedNode<IEnumeration, intfIEnumeration> {
public:
    using TypedNode::TypedNode;
    GenICam::gcstring ToString(bool Verify = false, bool IgnoreCache = false) override;
    void FromString(const GenICam::gcstring& ValueStr, bool Verify = true) override;
    void GetSymbolics(StringList_t& Symbolics) override;
    void GetEntries(NodeList_t& Entries) override;
    void SetIntValue(int64_t Value, bool Verify = true) override;
    int64_t GetIntValue(bool Verify = false, bool IgnoreCache = false) override;
    IEnumEntry* GetEntryByName(const GenICam::gcstring& Symbolic) override;
    IEnumEntry* GetEntry(int64_t IntValue) override;
    // Raises ORVANE_ERR_GENICAM_OUT_OF_RANGE when the current value is no entry.
    IEnumEntry* GetCurrentEntry(bool Verify = false, bool IgnoreCache = false) override;

    void AddEntry(EnumEntryNode& entry);
    const std::vector<EnumEntryNode*>& Entries() const { return m_entries; }

protected:
    virtual int64_t DoGetIntValue(bool ignoreCache) = 0;
    virtual void DoSetIntValue(int64_t value) = 0;

private:
    std::vector<EnumEntryNode*> m_entries;
};

class EnumEntryNode : public TypedNode<IEnumEntry, intfIEnumEntry> {
public:
    // The node is named "EnumEntry_<Enumeration>_<Symbolic>".
    EnumEntryNode(NodeMapBase& map, NodeInfo info, std::string symbolic, int64_t value);
    GenICam::gcstring ToString(bool Verify = false, bool IgnoreCache = false) override;
    void FromString(const GenICam::gcstring& ValueStr, bool Verify = true) override;
    bool IsValueCacheValid() const override { return true; }
    int64_t GetValue() override { return m_value; }
    GenICam::gcstring GetSymbolic() const override { return m_symbolic; }
    double GetNumericValue() override { return m_numericValue; }
    bool IsSelfClearing() override { return m_selfClearing; }

    void SetNumericValue(double v) { m_numericValue = v; }
    void SetSelfClearing(bool v) { m_selfClearing = v; }

protected:
    // RO when implemented and available, else NI or NA; subclasses that know
    // availability override it.
    EAccessMode ComputeAccessMode() const override { return RO; }

private:
    std::string m_symbolic;
    int64_t m_value;
    double m_numericValue;
    bool m_selfClearing = false;
};

class CategoryNode : public TypedNode<ICategory, intfICategory> {
public:
    using TypedNode::TypedNode;
    GenICam::gcstring ToString(bool Verify = false, bool IgnoreCache = false) override;
    void FromString(const GenICam::gcstring& ValueStr, bool Verify = true) override;
    bool IsValueCacheValid() const override { return true; }
    // The features of this category (those of them that exist), in declaration order.
    void GetFeatures(FeatureList_t& Features) override;

    void AddFeature(Node& feature) { m_features.push_back(&feature); }

protected:
    EAccessMode ComputeAccessMode() const override { return RO; }

private:
    std::vector<Node*> m_features;
};

class RegisterNode : public TypedNode<IRegister, intfIRegister>, public IReference {
public:
    using TypedNode::TypedNode;
    // Hexadecimal bytes, "0x" followed by two digits per byte.
    GenICam::gcstring ToString(bool Verify = false, bool IgnoreCache = false) override;
    void FromString(const GenICam::gcstring& ValueStr, bool Verify = true) override;
    void Set(const uint8_t* pBuffer, int64_t Length, bool Verify = true) override;
    void Get(uint8_t* pBuffer, int64_t Length, bool Verify = false, bool IgnoreCache = false) override;
    int64_t GetLength() override;
    int64_t GetAddress() override;
    // Binds the register to another port node of the same node map; anything
    // else raises ORVANE_ERR_GENICAM_INVALID_ARGUMENT.
    void SetReference(IBase* pBase) override;

protected:
    virtual void DoGet(uint8_t* buffer, int64_t length, bool ignoreCache) = 0;
    virtual void DoSet(const uint8_t* buffer, int64_t length) = 0;
    virtual int64_t DoGetLength() = 0;
    virtual int64_t DoGetAddress() = 0;
    // Called with the port node a caller bound the register to.
    virtual void DoSetPort(IPort& port);

private:
    // Raises ORVANE_ERR_GENICAM_INVALID_ARGUMENT (as `function`) for a null
    // buffer or a length the register cannot take (Verify: its length exactly).
    void CheckBuffer(const uint8_t* buffer, int64_t Length, bool Verify, const SourcePosition& at);
};

} // namespace impl
} // namespace GenApi
} // namespace Orvane

#endif
