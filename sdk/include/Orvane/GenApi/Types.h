// Enumerations of the GenApi layer, with the GenICam standard's numbering.
#ifndef ORVANE_GENAPI_TYPES_H
#define ORVANE_GENAPI_TYPES_H

#include <cstdint>

#include "Orvane/Export.h"

namespace Orvane {
namespace GenApi {

enum EAccessMode { NI = 0, NA = 1, WO = 2, RO = 3, RW = 4, _UndefinedAccesMode = 5, _CycleDetectAccesMode = 6 };
enum EVisibility { Beginner = 0, Expert = 1, Guru = 2, Invisible = 3, _UndefinedVisibility = 99 };
enum ECachingMode { NoCache = 0, WriteThrough = 1, WriteAround = 2, _UndefinedCachingMode = 3 };
enum ERepresentation {
    Linear = 0,
    Logarithmic = 1,
    Boolean = 2,
    PureNumber = 3,
    HexNumber = 4,
    IPV4Address = 5,
    MACAddress = 6,
    _UndefinedRepresentation = 7
};
enum ENameSpace { Custom = 0, Standard = 1, _UndefinedNameSpace = 2 };
enum EInterfaceType {
    intfIValue = 0,
    intfIBase = 1,
    intfIInteger = 2,
    intfIBoolean = 3,
    intfICommand = 4,
    intfIFloat = 5,
    intfIString = 6,
    intfIRegister = 7,
    intfICategory = 8,
    intfIEnumeration = 9,
    intfIEnumEntry = 10,
    intfIPort = 11
};
enum ECallbackType { cb_PostInsideLock = 1, cb_PostOutsideLock = 2 };
enum EIncMode { noIncrement = 0, fixedIncrement = 1, listIncrement = 2 };
enum EDisplayNotation { fnAutomatic = 0, fnFixed = 1, fnScientific = 2, _UndefinedEDisplayNotation = 3 };
// Which related nodes GetChildren/GetParents report.
enum ELinkType {
    ctParentNodes = 0,          // nodes that refer to this one
    ctReadingChildren = 1,      // nodes read to compute this node's value
    ctWritingChildren = 2,      // nodes written when this node is written
    ctInvalidatingChildren = 3, // nodes whose change invalidates this node
    ctDependingNodes = 4,       // every node whose value or state may change when this one changes
    ctTerminalNodes = 5         // the registers this node finally reads or writes
};

typedef intptr_t CallbackHandleType;

// Human-readable names of the enumerations above ("RW", "Beginner", ...).
ORVANE_API const char* AccessModeName(EAccessMode mode);
ORVANE_API const char* VisibilityName(EVisibility visibility);
ORVANE_API const char* InterfaceTypeName(EInterfaceType type);

} // namespace GenApi
} // namespace Orvane

#endif
