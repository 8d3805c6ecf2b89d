// The GenApi layer of Orvane: node map and node interfaces, checked pointers,
// node callbacks, node maps from GenICam XML alone.
#ifndef ORVANE_GENAPI_GENAPI_H
#define ORVANE_GENAPI_GENAPI_H

#include "Orvane/GenApi/Containers.h"
#include "Orvane/GenApi/Interfaces.h"
#include "Orvane/GenApi/NodeCallback.h"
#include "Orvane/GenApi/Pointer.h"
#include "Orvane/GenApi/Types.h"
#include "Orvane/GenApi/XmlNodeMap.h"

#endif
