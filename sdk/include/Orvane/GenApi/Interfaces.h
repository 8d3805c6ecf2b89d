// The GenApi interfaces of Orvane's node maps. Every node implements INode and
// the interface of its kind (IInteger, IFloat, ...); cast between them with
// dynamic_cast or the checked pointers of Pointer.h.
//
// Access mode: every getter checks that the node is readable and every setter
// that it is writable (ORVANE_ERR_GENICAM_ACCESS), whatever Verify says.
// Verify true adds, raising ORVANE_ERR_GENICAM_OUT_OF_RANGE:
// - setters: integers the minimum, maximum and increment (or the list of
//   valid values), floats NaN, minimum, maximum and increment, strings the
//   maximum length, enumerations that the value is an entry's and that entry
//   is available (ORVANE_ERR_GENICAM_ACCESS when it is not); booleans and
//   commands check nothing more;
// - getters: integers and floats that the device's value lies within the
//   minimum and maximum, enumerations that it is an entry's value; strings
//   and booleans check nothing more;
// - registers, both ways: the length must be the register's whole length
//   (without Verify any length from 1 to it), else
//   ORVANE_ERR_GENICAM_INVALID_ARGUMENT;
// - ICommand::IsDone: the command must be available (ORVANE_ERR_GENICAM_ACCESS).
// IgnoreCache true reads past the node map's value cache.
//
// Locking: every node operation takes its node map's recursive lock, so one
// node map may be used from several threads.
#ifndef ORVANE_GENAPI_INTERFACES_H
#define ORVANE_GENAPI_INTERFACES_H

#include <cstdint>

#include "Orvane/Export.h"
#include "Orvane/GenApi/Containers.h"
#include "Orvane/GenApi/Types.h"
#include "Orvane/GenICam/gcstring.h"

namespace Orvane {
namespace GenApi {

class INodeMap;
class CNodeCallback;
class IEnumEntry;

class ORVANE_API IBase {
public:
    virtual ~IBase();
    virtual EAccessMode GetAccessMode() const = 0;
};

class ORVANE_API INode : public virtual IBase {
public:
    ~INode() override;
    virtual GenICam::gcstring GetName(bool FullQualified = false) const = 0;
    virtual ENameSpace GetNameSpace() const = 0;
    virtual EVisibility GetVisibility() const = 0;
    // Drops the cached value and access mode of this node and the nodes that depend on it.
    virtual void InvalidateNode() = 0;
    virtual bool IsCachable() const = 0;
    virtual bool IsAccessModeCacheable() const = 0;
    virtual ECachingMode GetCachingMode() const = 0;
    // Milliseconds between polls, -1 when the node is not polled.
    virtual int64_t GetPollingTime() const = 0;
    virtual GenICam::gcstring GetToolTip() const = 0;
    virtual GenICam::gcstring GetDescription() const = 0;
    virtual GenICam::gcstring GetDisplayName() const = 0;
    virtual GenICam::gcstring GetDeviceName() const = 0;
    virtual void GetChildren(node_vector& Children, ELinkType LinkType = ctReadingChildren) const = 0;
    virtual void GetParents(node_vector& Parents, ELinkType LinkType = ctParentNodes) const = 0;
    // Registers a callback fired after every change of this node or of a node
    // it depends on: a write or command (of this node, of a node it reads, of
    // a selector selecting it), InvalidateNode, ImposeAccessMode, ImposeMin and
    // ImposeMax, and Poll when a polled value changed (not InvalidateNodes). One
    // change fires each callback once. The node does not own the callback;
    // deregister it before destroying it. Every registration is separate,
    // also of one callback object twice: each has its own handle.
    virtual CallbackHandleType RegisterCallback(CNodeCallback* pCallback) = 0;
    // Ends a registration (ORVANE_ERR_GENICAM_INVALID_ARGUMENT when this node
    // has none under the handle). When it returns, the callback is no longer
    // running on another thread and is not called again, so it may be
    // destroyed; from inside a callback, deregister only callbacks that
    // another thread is not running at the same time (two callbacks
    // deregistering each other from two threads would wait for each other).
    virtual bool DeregisterCallback(CallbackHandleType hCallback) = 0;
    virtual INodeMap* GetNodeMap() const = 0;
    virtual GenICam::gcstring GetEventID() const = 0;
    virtual bool IsStreamable() const = 0;
    virtual void GetPropertyNames(gcstring_vector& PropertyNames) const = 0;
    virtual bool GetProperty(const GenICam::gcstring& PropertyName, GenICam::gcstring& ValueStr,
                             GenICam::gcstring& AttributeStr) const = 0;
    // Limits the access mode (RO, WO, NA, ...) below what the device grants.
    virtual void ImposeAccessMode(EAccessMode ImposedAccessMode) = 0;
    virtual void ImposeVisibility(EVisibility ImposedVisibility) = 0;
    virtual INode* GetAlias() const = 0;
    virtual INode* GetCastAlias() const = 0;
    virtual GenICam::gcstring GetDocuURL() const = 0;
    virtual bool IsDeprecated() const = 0;
    virtual EInterfaceType GetPrincipalInterfaceType() const = 0;
    virtual bool IsFeature() const = 0;
    virtual bool IsSelector() const = 0;
    virtual void GetSelectedFeatures(value_vector& Features) const = 0;
    virtual void GetSelectingFeatures(value_vector& Features) const = 0;
};

class ORVANE_API IValue : public virtual IBase {
public:
    ~IValue() override;
    virtual INode* GetNode() = 0;
    virtual GenICam::gcstring ToString(bool Verify = false, bool IgnoreCache = false) = 0;
    virtual void FromString(const GenICam::gcstring& ValueStr, bool Verify = true) = 0;
    virtual bool IsValueCacheValid() const = 0;
};

class ORVANE_API IInteger : public virtual IValue {
public:
    ~IInteger() override;
    virtual void SetValue(int64_t Value, bool Verify = true) = 0;
    virtual int64_t GetValue(bool Verify = false, bool IgnoreCache = false) = 0;
    virtual int64_t GetMin() = 0;
    virtual int64_t GetMax() = 0;
    virtual EIncMode GetIncMode() = 0;
    virtual int64_t GetInc() = 0;
    virtual int64_autovector_t GetListOfValidValues(bool bounded = true) = 0;
    virtual ERepresentation GetRepresentation() = 0;
    virtual GenICam::gcstring GetUnit() const = 0;
    virtual void ImposeMin(int64_t Value) = 0;
    virtual void ImposeMax(int64_t Value) = 0;

    IInteger& operator=(int64_t Value) {
        SetValue(Value);
        return *this;
    }
    int64_t operator()() { return GetValue(); }
    int64_t operator*() { return GetValue(); }
};

class ORVANE_API IFloat : public virtual IValue {
public:
    ~IFloat() override;
    virtual void SetValue(double Value, bool Verify = true) = 0;
    virtual double GetValue(bool Verify = false, bool IgnoreCache = false) = 0;
    virtual double GetMin() = 0;
    virtual double GetMax() = 0;
    virtual bool HasInc() = 0;
    virtual EIncMode GetIncMode() = 0;
    virtual double GetInc() = 0;
    virtual double_autovector_t GetListOfValidValues(bool bounded = true) = 0;
    virtual ERepresentation GetRepresentation() = 0;
    virtual GenICam::gcstring GetUnit() const = 0;
    virtual EDisplayNotation GetDisplayNotation() const = 0;
    virtual int64_t GetDisplayPrecision() const = 0;
    virtual void ImposeMin(double Value) = 0;
    virtual void ImposeMax(double Value) = 0;

    IFloat& operator=(double Value) {
        SetValue(Value);
        return *this;
    }
    double operator()() { return GetValue(); }
    double operator*() { return GetValue(); }
};

class ORVANE_API IString : public virtual IValue {
public:
    ~IString() override;
    virtual void SetValue(const GenICam::gcstring& Value, bool Verify = true) = 0;
    virtual GenICam::gcstring GetValue(bool Verify = false, bool IgnoreCache = false) = 0;
    virtual int64_t GetMaxLength() = 0;

    IString& operator=(const GenICam::gcstring& Value) {
        SetValue(Value);
        return *this;
    }
    GenICam::gcstring operator()() { return GetValue(); }
    GenICam::gcstring operator*() { return GetValue(); }
};

class ORVANE_API IBoolean : public virtual IValue {
public:
    ~IBoolean() override;
    virtual void SetValue(bool Value, bool Verify = true) = 0;
    virtual bool GetValue(bool Verify = false, bool IgnoreCache = false) const = 0;

    IBoolean& operator=(bool Value) {
        SetValue(Value);
        return *this;
    }
    bool operator()() const { return GetValue(); }
    bool operator*() const { return GetValue(); }
};

class ORVANE_API ICommand : public virtual IValue {
public:
    ~ICommand() override;
    virtual void Execute(bool Verify = true) = 0;
    // True once the device has finished the last Execute.
    virtual bool IsDone(bool Verify = true) = 0;
    void operator()() { Execute(); }
};

class ORVANE_API IEnumeration : public virtual IValue {
public:
    ~IEnumeration() override;
    // Symbolic names of the entries that are available now.
    virtual void GetSymbolics(StringList_t& Symbolics) = 0;
    // Every entry node, in the order the node map declares them.
    virtual void GetEntries(NodeList_t& Entries) = 0;
    virtual void SetIntValue(int64_t Value, bool Verify = true) = 0;
    virtual int64_t GetIntValue(bool Verify = false, bool IgnoreCache = false) = 0;
    // The entry of this symbolic name (or of this entry node name,
    // "EnumEntry_<Enumeration>_<Entry>"), or null.
    virtual IEnumEntry* GetEntryByName(const GenICam::gcstring& Symbolic) = 0;
    // The entry of this integer value, or null.
    virtual IEnumEntry* GetEntry(int64_t IntValue) = 0;
    virtual IEnumEntry* GetCurrentEntry(bool Verify = false, bool IgnoreCache = false) = 0;

    IEnumeration& operator=(const GenICam::gcstring& Symbolic) {
        FromString(Symbolic);
        return *this;
    }
};

class ORVANE_API IEnumEntry : public virtual IValue {
public:
    ~IEnumEntry() override;
    virtual int64_t GetValue() = 0;
    virtual GenICam::gcstring GetSymbolic() const = 0;
    virtual double GetNumericValue() = 0;
    virtual bool IsSelfClearing() = 0;
};

class ORVANE_API ICategory : public virtual IValue {
public:
    ~ICategory() override;
    virtual void GetFeatures(FeatureList_t& Features) = 0;
};

class ORVANE_API IRegister : public virtual IValue {
public:
    ~IRegister() override;
    virtual void Set(const uint8_t* pBuffer, int64_t Length, bool Verify = true) = 0;
    virtual void Get(uint8_t* pBuffer, int64_t Length, bool Verify = false, bool IgnoreCache = false) = 0;
    virtual int64_t GetLength() = 0;
    virtual int64_t GetAddress() = 0;
};

class ORVANE_API IPort : public virtual IBase {
public:
    ~IPort() override;
    virtual void Read(void* pBuffer, int64_t Address, int64_t Length) = 0;
    virtual void Write(const void* pBuffer, int64_t Address, int64_t Length) = 0;
};

// Lets a node be bound to another node (a register to the port it reads).
class ORVANE_API IReference {
public:
    virtual ~IReference();
    virtual void SetReference(IBase* pBase) = 0;
};

class ORVANE_API INodeMap {
public:
    virtual ~INodeMap();
    // Every node, in the order the node map declares them.
    virtual void GetNodes(NodeList_t& Nodes) const = 0;
    // The node of this name (an enumeration entry by its node name,
    // "EnumEntry_<Enumeration>_<Entry>"), or null.
    virtual INode* GetNode(const GenICam::gcstring& Name) const = 0;
    virtual size_t GetNumNodes() const = 0;
    virtual void InvalidateNodes() const = 0;
    // ElapsedTime: milliseconds since the previous Poll. Each node with a
    // polling time (GetPollingTime() >= 0, nodes hidden from GetNodes
    // included) adds it to its own count; a node whose count reaches its
    // polling time is due, and its count restarts at 0 (the excess is
    // dropped). A due node whose access mode is RO or RW is read anew past
    // the value caches (from the device, or from the chunk or event data
    // attached for chunk and event features); for other access modes only
    // the mode is compared, so a node whose NA or WO mode is cached is not
    // read and does not become readable through Poll. The value read is
    // compared with the cached one when the cache is valid, else with the
    // previous poll's; a node's first poll counts as a change, and a read
    // that fails counts as a value (the failure is not raised). On a change
    // the node and every node depending on it lose their cached values and
    // access modes and their callbacks fire (NodeCallback.h), as with
    // InvalidateNode; the depending nodes are not read here, only at their
    // next access. Other nodes are neither read nor invalidated. Runs under
    // the node map's lock, on the calling thread.
    virtual void Poll(int64_t ElapsedTime) = 0;
    virtual GenICam::gcstring GetDeviceName() = 0;
    // The node map's recursive lock, for callers that need several node
    // operations to be atomic.
    virtual void Lock() const = 0;
    virtual bool TryLock() const = 0;
    virtual void Unlock() const = 0;
};

// Holds a node map's lock for its lifetime.
class AutoLock {
public:
    explicit AutoLock(const INodeMap& map) : m_map(map) { m_map.Lock(); }
    ~AutoLock() { m_map.Unlock(); }
    AutoLock(const AutoLock&) = delete;
    AutoLock& operator=(const AutoLock&) = delete;

private:
    const INodeMap& m_map;
};

} // namespace GenApi
} // namespace Orvane

#endif
