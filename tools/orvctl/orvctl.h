/* orvctl: the Orvane command-line tool. Shared declarations of its commands
 * and helpers. Written in C against OrvaneC.h alone. */
#ifndef ORVCTL_H
#define ORVCTL_H

#include <stddef.h>
#include <stdint.h>

#include "OrvaneC.h"
#include "QuickOrvTables.h"

/* Options common to every command. */
typedef struct {
    const char* transports; /* comma list: virtual, gige, usb3, all; NULL keeps the default */
    int virtualCameras;     /* -1 keeps the default */
} OrvctlOptions;

/* A command: name, one-line summary, usage text, and its entry point, which
 * receives the arguments after the command name and returns the exit status. */
typedef struct {
    const char* name;
    const char* summary;
    const char* usage;
    int (*run)(orvSystem system, int argc, char** argv);
} OrvctlCommand;

/* Reports a failed C call in words (with the last-error details where the
 * library keeps them) and returns 0 so callers can write
 * `if (check(err, "what")) ...` style guards; returns 1 on success. */
int orvctlCheck(orvError error, const char* what);
const char* orvctlErrorName(orvError error);

/* Node helpers on a node map: each returns 0 and prints nothing when the node
 * is missing or unreadable (the caller decides what to show). */
int orvctlGetString(orvNodeMapHandle map, const char* name, char* out, size_t size);
int orvctlGetInteger(orvNodeMapHandle map, const char* name, int64_t* value);
int orvctlSetInteger(orvNodeMapHandle map, const char* name, int64_t value);
/* Writes a feature from text (an entry name, a number, true/false); on
 * failure prints why and what the feature accepts, and returns 0. */
int orvctlSetFeature(orvNodeMapHandle map, const char* name, const char* value);
/* After a refused write: the feature's range, entries or access mode. */
void orvctlExplain(orvNodeHandle node, const char* name);
/* Any readable node as text ("-" when absent or unreadable). */
void orvctlNodeText(orvNodeHandle node, char* out, size_t size);

/* A camera chosen by serial number, with its handles. */
typedef struct {
    orvCameraList list;
    orvCamera camera;
    orvNodeMapHandle tlDevice;
    orvNodeMapHandle device; /* after orvctlInitCamera */
    int initialised;
} OrvctlCamera;

/* Finds the camera with this serial number; 0 (with a message) when none. */
int orvctlOpenCamera(orvSystem system, const char* serial, OrvctlCamera* out);
/* Initialises it and fetches its device node map. */
int orvctlInitCamera(OrvctlCamera* camera);
void orvctlCloseCamera(OrvctlCamera* camera);
/* The device node map (tl NULL) or the transport-layer "device" or "stream" map. */
orvNodeMapHandle orvctlSelectMap(OrvctlCamera* camera, const char* tl);

/* Names: GenICam pixel format names (Mono8, BayerRG8, ...), demosaicing
 * algorithms (bilinear, ...) and file formats (png, jpeg, ...). Each prints a
 * message and returns 0 for an unknown name. */
int orvctlPixelFormatByName(const char* name, orvPixelFormat* format);
int orvctlAlgorithmByName(const char* name, orvColorProcessingAlgorithm* algorithm);
int orvctlFileFormatByName(const char* name, orvImageFileFormat* format, const char** extension);
int orvctlIsDirectory(const char* path);
/* Converts into a new image the caller destroys. */
int orvctlConvertImage(orvImageProcessor processor, orvImage image, orvPixelFormat format, orvImage* converted);
int orvctlSaveImage(orvImage image, const char* fileName, orvImageFileFormat format);

/* QuickOrv (quickorv.c): the C constants of the standard enumeration
 * features, from the library's generated name tables. */
const OrvQuickOrvEnumFeature* orvctlEnumFeature(const char* feature); /* NULL: no constants */
int orvctlEnumConstant(const char* feature, const char* entry, size_t* value);
/* The field of a filled camera structure that holds this feature. */
orvNodeHandle orvctlQuickOrvField(const quickOrv* q, const char* feature);
/* Sets an enumeration to an entry through the entry's constant; on failure
 * prints why (no constant, no such entry on the device, refused) and what the
 * feature accepts, and returns 0. */
int orvctlSetEnum(orvNodeHandle node, const char* feature, const char* entry);
/* An enumeration's current entry, kept to be put back: by its constant, or by
 * the device's integer for an entry without one. */
typedef struct {
    orvNodeHandle node;
    int saved;
    int hasConstant;
    size_t constant;
    int64_t integer;
} OrvctlSavedEnum;
int orvctlSaveEnum(orvNodeHandle node, OrvctlSavedEnum* saved);
int orvctlRestoreEnum(const OrvctlSavedEnum* saved, const char* feature);

/* The commands. */
int orvctlList(orvSystem system, int argc, char** argv);
int orvctlInfo(orvSystem system, int argc, char** argv);
int orvctlFeatures(orvSystem system, int argc, char** argv);
int orvctlGet(orvSystem system, int argc, char** argv);
int orvctlSet(orvSystem system, int argc, char** argv);
int orvctlConvert(orvSystem system, int argc, char** argv);
int orvctlGrab(orvSystem system, int argc, char** argv);
int orvctlEnum(orvSystem system, int argc, char** argv);
int orvctlWatch(orvSystem system, int argc, char** argv);
int orvctlAction(orvSystem system, int argc, char** argv);

#endif
