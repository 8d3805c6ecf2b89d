/*
 * Orvane C library: node maps and nodes (GenICam features). Included by
 * OrvaneC.h.
 *
 * Node handles belong to the node map (or enumeration, category) handle they
 * came from: asking twice for one name gives the same handle. A name the node
 * map does not have gives success and a null handle. Failures here are seen
 * in the return code and the log; orvErrorGetLast does not report them.
 *
 * Plain getters read without verification; plain setters write with it. The
 * Ex variants take the verify flag explicitly.
 */
#ifndef ORVANE_GENAPI_C_H
#define ORVANE_GENAPI_C_H

#include "OrvaneCDefs.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Node maps -------------------------------------------------------------- */
ORVANE_C_API orvError orvNodeMapGetNode(orvNodeMapHandle hNodeMap, const char* pName, orvNodeHandle* phNode);
ORVANE_C_API orvError orvNodeMapGetNumNodes(orvNodeMapHandle hNodeMap, size_t* pValue);
ORVANE_C_API orvError orvNodeMapGetNodeByIndex(orvNodeMapHandle hNodeMap, size_t index, orvNodeHandle* phNode);
/* Frees a node handle early; the next lookup of the name makes a new one. */
ORVANE_C_API orvError orvNodeMapReleaseNode(orvNodeMapHandle hNodeMap, orvNodeHandle hNode);
/* INodeMap::Poll (Interfaces.h); elapsedTime: milliseconds since the previous
 * poll. Readable polled nodes whose polling time has come are read from the
 * device; when a value changed, that node and the nodes depending on it lose
 * their cached values and their callbacks fire. Only the polled nodes are
 * read. */
ORVANE_C_API orvError orvNodeMapPoll(orvNodeMapHandle hNodeMap, int64_t elapsedTime);

/* Any node --------------------------------------------------------------- */
ORVANE_C_API orvError orvNodeGetAccessMode(orvNodeHandle hNode, int32_t* pAccessMode);
ORVANE_C_API orvError orvNodeGetName(orvNodeHandle hNode, char* pBuf, size_t* pBufLen);
ORVANE_C_API orvError orvNodeGetNameSpace(orvNodeHandle hNode, int32_t* pNamespace);
ORVANE_C_API orvError orvNodeGetVisibility(orvNodeHandle hNode, int32_t* pVisibility);
ORVANE_C_API orvError orvNodeInvalidateNode(orvNodeHandle hNode);
ORVANE_C_API orvError orvNodeGetCachingMode(orvNodeHandle hNode, int32_t* pCachingMode);
ORVANE_C_API orvError orvNodeGetToolTip(orvNodeHandle hNode, char* pBuf, size_t* pBufLen);
ORVANE_C_API orvError orvNodeGetDescription(orvNodeHandle hNode, char* pBuf, size_t* pBufLen);
ORVANE_C_API orvError orvNodeGetDisplayName(orvNodeHandle hNode, char* pBuf, size_t* pBufLen);
/* An orvNodeType value. */
ORVANE_C_API orvError orvNodeGetType(orvNodeHandle hNode, int32_t* pType);
ORVANE_C_API orvError orvNodeGetPollingTime(orvNodeHandle hNode, int64_t* pPollingTime);
/* Despite their names these two impose: they limit the node's access mode or
 * visibility to the value given and write nothing back. */
ORVANE_C_API orvError orvNodeGetImposedAccessMode(orvNodeHandle hNode, int32_t accessMode);
ORVANE_C_API orvError orvNodeGetImposedVisibility(orvNodeHandle hNode, int32_t visibility);
ORVANE_C_API orvError orvNodeToString(orvNodeHandle hNode, char* pBuf, size_t* pBufLen);
ORVANE_C_API orvError orvNodeToStringEx(orvNodeHandle hNode, bool8_t bVerify, char* pBuf, size_t* pBufLen);
ORVANE_C_API orvError orvNodeFromString(orvNodeHandle hNode, const char* pValue);
ORVANE_C_API orvError orvNodeFromStringEx(orvNodeHandle hNode, bool8_t bVerify, const char* pValue);
ORVANE_C_API orvError orvNodeIsImplemented(orvNodeHandle hNode, bool8_t* pResult);
ORVANE_C_API orvError orvNodeIsReadable(orvNodeHandle hNode, bool8_t* pResult);
ORVANE_C_API orvError orvNodeIsWritable(orvNodeHandle hNode, bool8_t* pResult);
ORVANE_C_API orvError orvNodeIsAvailable(orvNodeHandle hNode, bool8_t* pResult);
/* 1 when both handles stand for the same node. */
ORVANE_C_API orvError orvNodeIsEqual(orvNodeHandle hNodeFirst, orvNodeHandle hNodeSecond, bool8_t* pResult);

/* Strings ---------------------------------------------------------------- */
ORVANE_C_API orvError orvStringSetValue(orvNodeHandle hNode, const char* pValue);
ORVANE_C_API orvError orvStringSetValueEx(orvNodeHandle hNode, bool8_t bVerify, const char* pValue);
ORVANE_C_API orvError orvStringGetValue(orvNodeHandle hNode, char* pBuf, size_t* pBufLen);
ORVANE_C_API orvError orvStringGetValueEx(orvNodeHandle hNode, bool8_t bVerify, char* pBuf, size_t* pBufLen);
ORVANE_C_API orvError orvStringGetMaxLength(orvNodeHandle hNode, int64_t* pValue);

/* Integers --------------------------------------------------------------- */
ORVANE_C_API orvError orvIntegerSetValue(orvNodeHandle hNode, int64_t value);
ORVANE_C_API orvError orvIntegerSetValueEx(orvNodeHandle hNode, bool8_t bVerify, int64_t value);
ORVANE_C_API orvError orvIntegerGetValue(orvNodeHandle hNode, int64_t* pValue);
ORVANE_C_API orvError orvIntegerGetValueEx(orvNodeHandle hNode, bool8_t bVerify, int64_t* pValue);
ORVANE_C_API orvError orvIntegerGetMin(orvNodeHandle hNode, int64_t* pValue);
ORVANE_C_API orvError orvIntegerGetMax(orvNodeHandle hNode, int64_t* pValue);
ORVANE_C_API orvError orvIntegerGetInc(orvNodeHandle hNode, int64_t* pValue);
ORVANE_C_API orvError orvIntegerGetRepresentation(orvNodeHandle hNode, int32_t* pValue);

/* Booleans --------------------------------------------------------------- */
ORVANE_C_API orvError orvBooleanSetValue(orvNodeHandle hNode, bool8_t value);
ORVANE_C_API orvError orvBooleanGetValue(orvNodeHandle hNode, bool8_t* pValue);

/* Floats ----------------------------------------------------------------- */
ORVANE_C_API orvError orvFloatSetValue(orvNodeHandle hNode, double value);
ORVANE_C_API orvError orvFloatSetValueEx(orvNodeHandle hNode, bool8_t bVerify, double value);
ORVANE_C_API orvError orvFloatGetValue(orvNodeHandle hNode, double* pValue);
ORVANE_C_API orvError orvFloatGetValueEx(orvNodeHandle hNode, bool8_t bVerify, double* pValue);
ORVANE_C_API orvError orvFloatGetMin(orvNodeHandle hNode, double* pValue);
ORVANE_C_API orvError orvFloatGetMax(orvNodeHandle hNode, double* pValue);
ORVANE_C_API orvError orvFloatGetRepresentation(orvNodeHandle hNode, int32_t* pValue);
ORVANE_C_API orvError orvFloatGetUnit(orvNodeHandle hNode, char* pBuf, size_t* pBufLen);

/* Commands --------------------------------------------------------------- */
ORVANE_C_API orvError orvCommandExecute(orvNodeHandle hNode);
ORVANE_C_API orvError orvCommandIsDone(orvNodeHandle hNode, bool8_t* pValue);

/* Enumerations and categories -------------------------------------------- */
ORVANE_C_API orvError orvEnumerationGetNumEntries(orvNodeHandle hNode, size_t* pValue);
ORVANE_C_API orvError orvEnumerationGetEntryByIndex(orvNodeHandle hNode, size_t index, orvNodeHandle* phEntry);
ORVANE_C_API orvError orvEnumerationGetEntryByName(orvNodeHandle hNode, const char* pName, orvNodeHandle* phEntry);
ORVANE_C_API orvError orvEnumerationGetCurrentEntry(orvNodeHandle hNode, orvNodeHandle* phEntry);
ORVANE_C_API orvError orvEnumerationReleaseNode(orvNodeHandle hEnum, orvNodeHandle hEntry);
ORVANE_C_API orvError orvEnumerationSetIntValue(orvNodeHandle hNode, int64_t value);
ORVANE_C_API orvError orvEnumerationEntryGetIntValue(orvNodeHandle hNode, int64_t* pValue);
ORVANE_C_API orvError orvEnumerationEntryGetSymbolic(orvNodeHandle hNode, char* pBuf, size_t* pBufLen);
ORVANE_C_API orvError orvCategoryGetNumFeatures(orvNodeHandle hNode, size_t* pValue);
ORVANE_C_API orvError orvCategoryGetFeatureByIndex(orvNodeHandle hNode, size_t index, orvNodeHandle* phFeature);
ORVANE_C_API orvError orvCategoryReleaseNode(orvNodeHandle hCategory, orvNodeHandle hFeature);

/* Registers -------------------------------------------------------------- */
ORVANE_C_API orvError orvRegisterGet(orvNodeHandle hNode, uint8_t* pBuffer, int64_t length);
ORVANE_C_API orvError orvRegisterGetEx(orvNodeHandle hNode, bool8_t bVerify, bool8_t bIgnoreCache, uint8_t* pBuffer,
                                       int64_t length);
ORVANE_C_API orvError orvRegisterGetAddress(orvNodeHandle hNode, int64_t* pAddress);
ORVANE_C_API orvError orvRegisterGetLength(orvNodeHandle hNode, int64_t* pLength);
ORVANE_C_API orvError orvRegisterSet(orvNodeHandle hNode, const uint8_t* pBuffer, int64_t length);
/* Binds the register to the node hRef names, which must be a port node of the
 * same node map. */
ORVANE_C_API orvError orvRegisterSetReference(orvNodeHandle hNode, orvNodeHandle hRef);

/* Node callbacks --------------------------------------------------------- */
/* Calls pFunction after every change of the node or of a node it depends on.
 * Deregister before the node map goes away. */
ORVANE_C_API orvError orvNodeRegisterCallback(orvNodeHandle hNode, orvNodeCallbackFunction pFunction,
                                              orvNodeCallbackHandle* phCallback);
ORVANE_C_API orvError orvNodeDeregisterCallback(orvNodeHandle hNode, orvNodeCallbackHandle hCallback);

#ifdef __cplusplus
}

/* Exported with C++ linkage (a type-encoded symbol): writes a register with
 * the verify flag last. Not callable from C. */
ORVANE_C_API orvError orvRegisterSetEx(void* hNode, const unsigned char* pBuffer, long long length,
                                       unsigned char bVerify);
#endif

#endif
