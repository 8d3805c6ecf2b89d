// Checked GenApi pointers: CPointer<T> holds a node viewed through interface T
// (a dynamic_cast from the node it was given). Dereferencing one that is null,
// because the node was null or lacks the interface, raises
// ORVANE_ERR_GENICAM_LOGICAL_ERROR.
#ifndef ORVANE_GENAPI_POINTER_H
#define ORVANE_GENAPI_POINTER_H

#include "Orvane/Exception.h"
#include "Orvane/GenApi/Interfaces.h"

namespace Orvane {
namespace GenApi {

template <class T, class B = IBase>
class CPointer {
public:
    CPointer() : m_pT(nullptr) {}
    CPointer(B* pB) : m_pT(dynamic_cast<T*>(pB)) {}
    template <class U>
    CPointer(const CPointer<U, B>& other) : m_pT(dynamic_cast<T*>(other.get())) {}
    CPointer& operator=(B* pB) {
        m_pT = dynamic_cast<T*>(pB);
        return *this;
    }

    T* operator->() const {
        if (!m_pT) ThrowNull();
        return m_pT;
    }
    T& operator*() const {
        if (!m_pT) ThrowNull();
        return *m_pT;
    }
    operator T*() const { return m_pT; }
    T* get() const { return m_pT; }
    bool IsValid() const { return m_pT != nullptr; }
    bool operator==(std::nullptr_t) const { return m_pT == nullptr; }
    bool operator!=(std::nullptr_t) const { return m_pT != nullptr; }

private:
    [[noreturn]] static void ThrowNull() {
        throw Exception(160, "../../include/OrvGenApi/Pointer", "operator->",
                        "LogicalErrorException NULL pointer dereferenced", ORVANE_ERR_GENICAM_LOGICAL_ERROR);
    }

    T* m_pT;
};

typedef CPointer<IBase> CBasePtr;
typedef CPointer<INode> CNodePtr;
typedef CPointer<IValue> CValuePtr;
typedef CPointer<IInteger> CIntegerPtr;
typedef CPointer<IFloat> CFloatPtr;
typedef CPointer<IString> CStringPtr;
typedef CPointer<IBoolean> CBooleanPtr;
typedef CPointer<ICommand> CCommandPtr;
typedef CPointer<IEnumeration> CEnumerationPtr;
typedef CPointer<IEnumEntry> CEnumEntryPtr;
typedef CPointer<ICategory> CCategoryPtr;
typedef CPointer<IRegister> CRegisterPtr;
typedef CPointer<IPort> CPortPtr;
typedef CPointer<IReference> CReferencePtr;

} // namespace GenApi
} // namespace Orvane

#endif
