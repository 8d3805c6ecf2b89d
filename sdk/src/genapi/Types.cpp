// Out-of-line parts of the public GenApi headers: names of enumeration values,
// container index errors, and the key functions of the interfaces.
#include <string>

#include "Orvane/GenApi/GenApi.h"
#include "core/Raise.h"

namespace Orvane {
namespace GenApi {

IBase::~IBase() = default;
INode::~INode() = default;
IValue::~IValue() = default;
IInteger::~IInteger() = default;
IFloat::~IFloat() = default;
IString::~IString() = default;
IBoolean::~IBoolean() = default;
ICommand::~ICommand() = default;
IEnumeration::~IEnumeration() = default;
IEnumEntry::~IEnumEntry() = default;
ICategory::~ICategory() = default;
IRegister::~IRegister() = default;
IPort::~IPort() = default;
CNodeCallback::~CNodeCallback() = default;
IReference::~IReference() = default;
INodeMap::~INodeMap() = default;

const char* AccessModeName(EAccessMode mode) {
    switch (mode) {
    case NI: return "NI";
    case NA: return "NA";
    case WO: return "WO";
    case RO: return "RO";
    case RW: return "RW";
    default: return "undefined";
    }
}

const char* VisibilityName(EVisibility visibility) {
    switch (visibility) {
    case Beginner: return "Beginner";
    case Expert: return "Expert";
    case Guru: return "Guru";
    case Invisible: return "Invisible";
    default: return "undefined";
    }
}

const char* InterfaceTypeName(EInterfaceType type) {
    switch (type) {
    case intfIValue: return "Value";
    case intfIBase: return "Base";
    case intfIInteger: return "Integer";
    case intfIBoolean: return "Boolean";
    case intfICommand: return "Command";
    case intfIFloat: return "Float";
    case intfIString: return "String";
    case intfIRegister: return "Register";
    case intfICategory: return "Category";
    case intfIEnumeration: return "Enumeration";
    case intfIEnumEntry: return "EnumEntry";
    case intfIPort: return "Port";
    default: return "undefined";
    }
}

namespace detail {
void ThrowIndexOutOfRange(size_t index, size_t size) {
    ORV_RAISE(ORVANE_ERR_GENICAM_OUT_OF_RANGE,
              "index " + std::to_string(index) + " is out of range: the list has " + std::to_string(size) + " items");
}
} // namespace detail

} // namespace GenApi
} // namespace Orvane
