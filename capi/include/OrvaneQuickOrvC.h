/*
 * Orvane C library: QuickOrv. Included by OrvaneC.h.
 *
 * One call fills a caller-owned structure (OrvaneQuickOrv.h) with a node
 * handle for every standard feature of a camera or of a level of its
 * transport layer, so the features need no lookup by name:
 *
 *   quickOrv q;
 *   orvCameraInit(camera);
 *   quickOrvInit(camera, &q);
 *   if (q.PixelFormat) orvEnumerationSetEnumValue(q.PixelFormat, PixelFormat_BayerRG8);
 *   if (q.ExposureTime) orvFloatSetValue(q.ExposureTime, 5000.0);
 *
 * The handles are the node map's own (the same orvNodeMapGetNode gives) and
 * belong to it: the caller never releases them one by one. A feature the
 * device lacks leaves a null field; filling again gives the same handles.
 * The camera structure's handles go away with the device node map at
 * orvCameraDeInit: fill it again after the next orvCameraInit. The
 * initialisers check neither the structure pointer nor its size: pass a
 * whole structure of the right type.
 *
 * Failures of these functions are seen in their return codes and the log.
 * The camera, interface and system functions they call first
 * (orvCameraIsInitialized, orvCameraGetNodeMap, orvCameraGetTLDeviceNodeMap,
 * ...) keep their own failures where orvErrorGetLast reads them, and the
 * initialiser returns that code. quickOrvInitEx keeps its own failure (a null
 * camera handle) there too; what it passes on from the initialisers it calls
 * is only returned.
 *
 * Any thread may call these functions; each node lookup takes the node map
 * handle's lock, so two threads filling structures from one camera get the
 * same handles. No callback runs.
 *
 * Compiles as C99 and as C++.
 */
#ifndef ORVANE_QUICKORV_C_H
#define ORVANE_QUICKORV_C_H

#include "OrvaneCDefs.h"
#include "OrvaneQuickOrv.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Initialisers ------------------------------------------------------------- */
/* The camera's features from its node map. The camera must be initialised
 * (orvCameraInit): otherwise ORVANE_ERR_NOT_INITIALIZED and the structure is
 * left as it was. */
ORVANE_C_API orvError quickOrvInit(orvCamera hCamera, quickOrv* pQuickOrv);
/* quickOrvInit, quickOrvTLDeviceInit and quickOrvTLStreamInit in that order,
 * each for a non-null structure pointer (null: skipped); stops at the first
 * failure, leaving the later structures as they were. The camera handle must
 * not be null, even when all three pointers are. */
ORVANE_C_API orvError quickOrvInitEx(orvCamera hCamera, quickOrv* pQuickOrv, quickOrvTLDevice* pQuickOrvTLDevice,
                                     quickOrvTLStream* pQuickOrvTLStream);
/* The transport-layer features of the system, an interface, a camera's device
 * and its stream; the camera need not be initialised. */
ORVANE_C_API orvError quickOrvTLSystemInit(orvSystem hSystem, quickOrvTLSystem* pQuickOrvTLSystem);
ORVANE_C_API orvError quickOrvTLInterfaceInit(orvInterface hInterface, quickOrvTLInterface* pQuickOrvTLInterface);
ORVANE_C_API orvError quickOrvTLDeviceInit(orvCamera hCamera, quickOrvTLDevice* pQuickOrvTLDevice);
ORVANE_C_API orvError quickOrvTLStreamInit(orvCamera hCamera, quickOrvTLStream* pQuickOrvTLStream);

/* Enumeration constants ------------------------------------------------------ */
/* Sets the enumeration to the entry that the constant names, whatever integer
 * the device gives that entry: orvEnumerationSetEnumValue(q.AcquisitionMode,
 * AcquisitionMode_SingleFrame). Only the low 32 bits of value count. A
 * constant of another feature, or a feature without constants, gives
 * ORVANE_ERR_INVALID_PARAMETER and leaves the device untouched. The write is
 * verified; a device without an entry of that name gives
 * ORVANE_ERR_GENICAM_LOGICAL_ERROR. */
ORVANE_C_API orvError orvEnumerationSetEnumValue(orvNodeHandle hEnumeration, size_t value);
/* The constant of an entry node (orvEnumerationGetCurrentEntry,
 * orvEnumerationGetEntryByName, ...); ORVANE_ERR_INVALID_PARAMETER for an
 * entry without one (a device-specific entry). */
ORVANE_C_API orvError orvEnumerationEntryGetEnumValue(orvNodeHandle hEntry, size_t* pValue);

#ifdef __cplusplus
}
#endif

#endif
