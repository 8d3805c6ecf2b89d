/* orvctl grab: streams frames from a camera, optionally software-triggered,
 * with chunk data, conversion, statistics, image files and device events, then
 * sums up. The standard settings (pixel format, exposure, gain, trigger) go
 * through the camera's QuickOrv structure and the C enumeration constants. */
#include <errno.h>
#include <math.h>
#include <pthread.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include "orvctl.h"

static const char kGrabUsage[] =
    "usage: orvctl grab SERIAL [-n N] [--timeout MS] [--pixel-format F] [--exposure US] [--gain DB]\n"
    "                   [--set FEATURE=VALUE]... [--trigger software] [--chunks] [--events [NAME,...]]\n"
    "                   [--convert FORMAT [--algorithm NAME]] [--save DIR [--format FMT]] [--stats]\n";

enum { MAX_SETTINGS = 32, MAX_EVENTS = 32 };

/* The device events --events turns on when it names none, those the camera has. */
static const char* const kDefaultEvents[] = {"AcquisitionStart", "ExposureEnd", "FrameTriggerMissed", "AcquisitionEnd"};

typedef struct {
    const char* serial;
    unsigned long long count;
    unsigned long long timeout;
    const char* pixelFormat;
    int exposureGiven;
    double exposure; /* microseconds */
    int gainGiven;
    double gain;                        /* dB */
    const char* settings[MAX_SETTINGS]; /* FEATURE=VALUE, written in order just before the acquisition */
    int settingCount;
    int softwareTrigger;
    int chunks;
    int events;
    const char* eventList; /* NAME,NAME,... after --events; NULL: the defaults */
    int convert;
    orvPixelFormat target;
    orvColorProcessingAlgorithm algorithm;
    int algorithmGiven;
    const char* saveDir;
    orvImageFileFormat fileFormat;
    const char* extension;
    int formatGiven;
    int stats;
} GrabOptions;

/* What the run has seen so far. */
typedef struct {
    unsigned long long frames, incomplete, bytes, firstBytes;
    uint64_t firstId, lastId; /* of the frames that carry an id (0: none yet) */
    double begin, first, last;
} GrabTally;

/* The progress bar on stderr (only when stderr is a terminal). Per-frame
 * lines on stdout clear it first; it is drawn again after the frame. */
typedef struct {
    int enabled;
    int drawn;
    double drawnAt;
} ProgressBar;

/* Set by SIGINT: the loop stops after the current frame and the camera is
 * put back as it was. Owner: the grab loop, which installs the handler and
 * restores the previous one. */
static volatile sig_atomic_t gInterrupted = 0;

static void onInterrupt(int sig) {
    (void)sig;
    gInterrupted = 1;
}

static double now(void) {
    struct timespec t;
    clock_gettime(CLOCK_MONOTONIC, &t);
    return (double)t.tv_sec + (double)t.tv_nsec * 1e-9;
}

static void clearBar(ProgressBar* bar) {
    if (!bar->drawn) return;
    fprintf(stderr, "\r\033[K");
    bar->drawn = 0;
}

static void drawBar(ProgressBar* bar, unsigned long long done, unsigned long long total) {
    enum { WIDTH = 30 };
    char cells[WIDTH + 1];
    const double t = now();
    int filled, i;
    if (!bar->enabled || (bar->drawn && done < total && t - bar->drawnAt < 0.1)) return;
    filled = total ? (int)(done * WIDTH / total) : WIDTH;
    for (i = 0; i < WIDTH; ++i) cells[i] = i < filled ? '#' : '.';
    cells[WIDTH] = '\0';
    fflush(stdout);
    fprintf(stderr, "\r[%s] %llu/%llu", cells, done, total);
    fflush(stderr);
    bar->drawn = 1;
    bar->drawnAt = t;
}

/* Parses a whole decimal number within [min, max]. */
static int parseNumber(const char* text, unsigned long long min, unsigned long long max, unsigned long long* out) {
    char* end = NULL;
    unsigned long long v;
    if (!*text || *text == '-' || *text == '+') return 0;
    errno = 0;
    v = strtoull(text, &end, 10);
    if (errno || *end || v < min || v > max) return 0;
    *out = v;
    return 1;
}

/* Parses a whole finite decimal number. */
static int parseReal(const char* text, double* out) {
    char* end = NULL;
    double v;
    if (!*text) return 0;
    errno = 0;
    v = strtod(text, &end);
    if (errno || *end || !isfinite(v)) return 0;
    *out = v;
    return 1;
}

/* Returns 1 when parsed, 0 after a usage message (exit status 2). */
static int parseOptions(int argc, char** argv, GrabOptions* o) {
    int k;
    memset(o, 0, sizeof *o);
    o->count = 10;
    o->timeout = 5000;
    o->target = ORV_UNKNOWN_PIXELFORMAT;
    o->algorithm = ORV_COLOR_PROCESSING_DEFAULT;
    o->fileFormat = ORV_FILE_FORMAT_PNG;
    o->extension = "png";
    for (k = 0; k < argc; ++k) {
        const char* a = argv[k];
        const int hasValue = k + 1 < argc;
        if (strcmp(a, "-n") == 0 && hasValue) {
            if (!parseNumber(argv[++k], 1, 1000000000ULL, &o->count)) {
                fprintf(stderr, "orvctl grab: -n takes a number of frames from 1 to 1000000000\n");
                return 0;
            }
        } else if (strcmp(a, "--timeout") == 0 && hasValue) {
            if (!parseNumber(argv[++k], 1, 86400000ULL, &o->timeout)) {
                fprintf(stderr, "orvctl grab: --timeout takes milliseconds from 1 to 86400000\n");
                return 0;
            }
        } else if (strcmp(a, "--pixel-format") == 0 && hasValue) {
            o->pixelFormat = argv[++k];
        } else if (strcmp(a, "--exposure") == 0 && hasValue) {
            if (!parseReal(argv[++k], &o->exposure) || o->exposure <= 0) {
                fprintf(stderr, "orvctl grab: --exposure takes a time in microseconds, greater than 0\n");
                return 0;
            }
            o->exposureGiven = 1;
        } else if (strcmp(a, "--gain") == 0 && hasValue) {
            if (!parseReal(argv[++k], &o->gain)) {
                fprintf(stderr, "orvctl grab: --gain takes a gain in dB\n");
                return 0;
            }
            o->gainGiven = 1;
        } else if (strcmp(a, "--set") == 0 && hasValue) {
            const char* eq = strchr(argv[++k], '=');
            if (!eq || eq == argv[k] || eq - argv[k] >= 128) {
                fprintf(stderr, "orvctl grab: --set takes FEATURE=VALUE\n");
                return 0;
            }
            if (o->settingCount == MAX_SETTINGS) {
                fprintf(stderr, "orvctl grab: at most %d --set options\n", MAX_SETTINGS);
                return 0;
            }
            o->settings[o->settingCount++] = argv[k];
        } else if (strcmp(a, "--trigger") == 0 && hasValue) {
            if (strcmp(argv[++k], "software") != 0) {
                fprintf(stderr, "orvctl grab: --trigger takes 'software'\n");
                return 0;
            }
            o->softwareTrigger = 1;
        } else if (strcmp(a, "--chunks") == 0) {
            o->chunks = 1;
        } else if (strcmp(a, "--events") == 0 || strncmp(a, "--events=", 9) == 0) {
            o->events = 1;
            /* A list follows the option (after SERIAL), or is joined to it with '='. */
            if (a[8] == '=')
                o->eventList = a + 9;
            else if (hasValue && argv[k + 1][0] != '-' && o->serial)
                o->eventList = argv[++k];
            if (o->eventList && (!*o->eventList || strlen(o->eventList) >= 1024)) {
                fprintf(stderr, "orvctl grab: --events takes event names separated by commas\n");
                return 0;
            }
        } else if (strcmp(a, "--convert") == 0 && hasValue) {
            if (!orvctlPixelFormatByName(argv[++k], &o->target)) return 0;
            o->convert = 1;
        } else if (strcmp(a, "--algorithm") == 0 && hasValue) {
            if (!orvctlAlgorithmByName(argv[++k], &o->algorithm)) return 0;
            o->algorithmGiven = 1;
        } else if (strcmp(a, "--save") == 0 && hasValue) {
            o->saveDir = argv[++k];
        } else if (strcmp(a, "--format") == 0 && hasValue) {
            if (!orvctlFileFormatByName(argv[++k], &o->fileFormat, &o->extension)) return 0;
            o->formatGiven = 1;
        } else if (strcmp(a, "--stats") == 0) {
            o->stats = 1;
        } else if (a[0] != '-' && !o->serial) {
            o->serial = a;
        } else {
            static const char* const kTakeValues[] = {"-n",          "--timeout", "--pixel-format", "--exposure",
                                                      "--gain",      "--set",     "--trigger",      "--convert",
                                                      "--algorithm", "--save",    "--format"};
            size_t v;
            int needsValue = 0;
            for (v = 0; v < sizeof kTakeValues / sizeof kTakeValues[0]; ++v)
                if (strcmp(a, kTakeValues[v]) == 0) needsValue = 1;
            if (needsValue)
                fprintf(stderr, "orvctl grab: %s needs a value\n", a);
            else if (a[0] == '-')
                fprintf(stderr, "orvctl grab: unknown option '%s'\n", a);
            else
                fprintf(stderr, "orvctl grab: unexpected argument '%s'\n", a);
            fputs(kGrabUsage, stderr);
            return 0;
        }
    }
    if (!o->serial) {
        fputs(kGrabUsage, stderr);
        return 0;
    }
    if (o->algorithmGiven && !o->convert) {
        fprintf(stderr, "orvctl grab: --algorithm applies to --convert\n");
        return 0;
    }
    if (o->formatGiven && !o->saveDir) {
        fprintf(stderr, "orvctl grab: --format applies to --save\n");
        return 0;
    }
    return 1;
}

static orvNodeHandle findNode(orvNodeMapHandle map, const char* name) {
    orvNodeHandle node = NULL;
    if (!orvctlCheck(orvNodeMapGetNode(map, name, &node), "looking up the feature")) return NULL;
    if (!node) fprintf(stderr, "orvctl: the camera has no feature '%s'\n", name);
    return node;
}

/* Turns chunk mode on and enables every available chunk the camera lets the
 * user switch; lists them on stdout. */
static int enableAllChunks(orvNodeMapHandle map) {
    orvNodeHandle selector, enable;
    size_t n = 0, i;
    if (!orvctlSetFeature(map, "ChunkModeActive", "true")) return 0;
    if (!(selector = findNode(map, "ChunkSelector")) || !(enable = findNode(map, "ChunkEnable"))) return 0;
    if (!orvctlCheck(orvEnumerationGetNumEntries(selector, &n), "counting the ChunkSelector entries")) return 0;
    printf("chunks enabled:");
    for (i = 0; i < n; ++i) {
        orvNodeHandle entry = NULL;
        bool8_t available = 0, writable = 0;
        int64_t value = 0;
        char symbolic[128];
        size_t length = sizeof symbolic;
        if (!orvctlCheck(orvEnumerationGetEntryByIndex(selector, i, &entry), "reading a ChunkSelector entry") ||
            !orvctlCheck(orvNodeIsAvailable(entry, &available), "reading a ChunkSelector entry"))
            return 0;
        if (!available) continue;
        if (!orvctlCheck(orvEnumerationEntryGetIntValue(entry, &value), "reading a ChunkSelector entry") ||
            !orvctlCheck(orvEnumerationEntryGetSymbolic(entry, symbolic, &length), "reading a ChunkSelector entry") ||
            !orvctlCheck(orvEnumerationSetIntValue(selector, value), "selecting a chunk") ||
            !orvctlCheck(orvNodeIsWritable(enable, &writable), "reading ChunkEnable"))
            return 0;
        if (!writable) continue; /* always sent, or fixed by the camera */
        if (!orvctlCheck(orvBooleanSetValue(enable, 1), "enabling a chunk")) return 0;
        printf(" %s", symbolic);
    }
    printf("\n");
    return 1;
}

static void printChunks(orvImage image, uint64_t id, ProgressBar* bar) {
    static const char* const kInts[] = {"ChunkFrameID", "ChunkTimestamp", "ChunkWidth",
                                        "ChunkHeight",  "ChunkOffsetX",   "ChunkOffsetY"};
    static const char* const kFloats[] = {"ChunkExposureTime", "ChunkGain"};
    size_t i;
    clearBar(bar);
    printf("frame %llu: chunks", (unsigned long long)id);
    for (i = 0; i < sizeof kInts / sizeof kInts[0]; ++i) {
        int64_t v = 0;
        if (orvImageChunkDataGetIntValue(image, kInts[i], &v) == ORVANE_ERR_SUCCESS)
            printf(" %s=%lld", kInts[i], (long long)v);
        else
            printf(" %s=-", kInts[i]);
    }
    for (i = 0; i < sizeof kFloats / sizeof kFloats[0]; ++i) {
        double v = 0;
        if (orvImageChunkDataGetFloatValue(image, kFloats[i], &v) == ORVANE_ERR_SUCCESS)
            printf(" %s=%g", kFloats[i], v);
        else
            printf(" %s=-", kFloats[i]);
    }
    printf("\n");
}

/* Smallest and largest value present and mean of each channel: grey for mono
 * formats, red, green and blue for the others. */
static int printStatistics(orvImage image, orvImageStatistics statistics, uint64_t id, ProgressBar* bar) {
    static const struct {
        orvStatisticsChannel channel;
        const char* name;
    } kChannels[] = {{ORV_STATISTICS_CHANNEL_GREY, "grey"},
                     {ORV_STATISTICS_CHANNEL_RED, "red"},
                     {ORV_STATISTICS_CHANNEL_GREEN, "green"},
                     {ORV_STATISTICS_CHANNEL_BLUE, "blue"}};
    char format[64];
    size_t length = sizeof format, i;
    int mono, shown = 0;
    if (!orvctlCheck(orvImageGetPixelFormatName(image, format, &length), "reading the pixel format")) return 0;
    mono = strncmp(format, "Mono", 4) == 0;
    if (!orvctlCheck(mono ? orvImageStatisticsEnableGreyOnly(statistics) : orvImageStatisticsEnableRgbOnly(statistics),
                     "choosing the statistics channels") ||
        !orvctlCheck(orvImageCalculateStatistics(image, statistics), "calculating the statistics"))
        return 0;
    clearBar(bar);
    printf("frame %llu: stats %s", (unsigned long long)id, format);
    for (i = mono ? 0 : 1; i < (mono ? 1u : 4u); ++i) {
        unsigned int min = 0, max = 0;
        float mean = 0;
        if (!orvctlCheck(orvImageStatisticsGetPixelValueRange(statistics, kChannels[i].channel, &min, &max),
                         "reading the statistics") ||
            !orvctlCheck(orvImageStatisticsGetMean(statistics, kChannels[i].channel, &mean),
                         "reading the statistics")) {
            printf("\n");
            return 0;
        }
        printf("%s %s min %u max %u mean %.2f", shown++ ? "," : "", kChannels[i].name, min, max, (double)mean);
    }
    printf("\n");
    return 1;
}

typedef struct {
    const GrabOptions* options;
    orvImageProcessor processor;
    orvImageStatistics statistics;
    GrabTally tally;
    ProgressBar bar;
} GrabRun;

/* Everything done with one frame; the caller releases the image. */
static int handleFrame(GrabRun* run, orvImage image) {
    const GrabOptions* o = run->options;
    GrabTally* t = &run->tally;
    uint64_t id = 0;
    bool8_t incomplete = 0;
    size_t payload = 0;
    orvImage converted = NULL, result;
    int ok = 1;
    if (!orvctlCheck(orvImageGetFrameID(image, &id), "reading the frame id") ||
        !orvctlCheck(orvImageIsIncomplete(image, &incomplete), "reading the image status") ||
        !orvctlCheck(orvImageGetValidPayloadSize(image, &payload), "reading the payload size"))
        return 0;
    /* An incomplete GigE Vision frame whose leader was lost has no id (0).
     * Lost frames are the stream's own count: it knows the ids wrap and
     * which frames arrived without one. */
    if (t->frames == 0) t->firstBytes = payload;
    if (id != 0) {
        if (t->firstId == 0) t->firstId = id;
        t->lastId = id;
    }
    ++t->frames;
    t->bytes += payload;
    if (o->events) {
        /* The frame beside its device events. */
        uint64_t timestamp = 0;
        if (!orvctlCheck(orvImageGetTimeStamp(image, &timestamp), "reading the timestamp")) return 0;
        clearBar(&run->bar);
        printf("frame %llu: timestamp %llu\n", (unsigned long long)id, (unsigned long long)timestamp);
    }
    if (incomplete) {
        orvImageStatus status = ORV_IMAGE_STATUS_UNKNOWN_ERROR;
        char text[128] = "";
        size_t length = sizeof text;
        ++t->incomplete;
        if (orvctlCheck(orvImageGetStatus(image, &status), "reading the image status"))
            orvctlCheck(orvImageGetStatusDescription(status, text, &length), "describing the image status");
        clearBar(&run->bar);
        printf("frame %llu: incomplete (%s)\n", (unsigned long long)id, text[0] ? text : "unknown status");
    }
    if (o->chunks) printChunks(image, id, &run->bar);
    if (o->convert && !orvctlConvertImage(run->processor, image, o->target, &converted)) return 0;
    result = converted ? converted : image;
    if (o->stats) ok = printStatistics(result, run->statistics, id, &run->bar);
    if (ok && o->saveDir) {
        char name[4096];
        snprintf(name, sizeof name, "%s/%s-%06llu.%s", o->saveDir, o->serial, (unsigned long long)id, o->extension);
        ok = orvctlSaveImage(result, name, o->fileFormat);
        if (ok) {
            clearBar(&run->bar);
            printf("frame %llu: saved %s\n", (unsigned long long)id, name);
        }
    }
    if (converted && !orvctlCheck(orvImageDestroy(converted), "freeing the converted image")) ok = 0;
    return ok;
}

/* Prints one stream counter, "-" when the stream has no such counter. */
static void printCounter(orvNodeMapHandle stream, const char* name, const char* label, int last) {
    int64_t v = 0;
    if (stream && orvctlGetInteger(stream, name, &v))
        printf("%lld %s%s", (long long)v, label, last ? "\n" : ", ");
    else
        printf("- %s%s", label, last ? "\n" : ", ");
}

static void printSummary(const GrabRun* run, orvNodeMapHandle stream, int64_t streamLost) {
    const GrabTally* t = &run->tally;
    const unsigned long long lost = streamLost > 0 ? (unsigned long long)streamLost : 0;
    printf("%llu frame%s, %llu incomplete, %llu lost, ", t->frames, t->frames == 1 ? "" : "s", t->incomplete, lost);
    if (t->firstId)
        printf("frame ids %llu to %llu\n", (unsigned long long)t->firstId, (unsigned long long)t->lastId);
    else
        printf("no frame ids\n");
    if (t->frames >= 2 && t->last > t->first) {
        const double span = t->last - t->first;
        printf("%.1f fps, %.2f MB/s (%llu bytes in %.3f s)\n", (double)(t->frames - 1) / span,
               (double)(t->bytes - t->firstBytes) / span / 1e6, t->bytes, t->last - t->begin);
    } else {
        printf("rate: too few frames to measure\n");
    }
    printf("stream counters: ");
    printCounter(stream, "StreamDeliveredFrameCount", "delivered", 0);
    printCounter(stream, "StreamIncompleteFrameCount", "incomplete", 0);
    printCounter(stream, "StreamLostFrameCount", "lost", 0);
    printCounter(stream, "StreamDroppedFrameCount", "dropped", 1);
}

/* The camera's settings grab changes, and how to put them back (the
 * selectors too, so the camera is left as grab found it). */
typedef struct {
    int triggerSet;
    OrvctlSavedEnum triggerSelector;
    OrvctlSavedEnum triggerMode;
    OrvctlSavedEnum triggerSource;
    int chunkModeSet;
    char chunkMode[16];
    char chunkSelector[64];
} Restore;

/* Sets an enumeration through its constant unless it has that entry already. */
static int ensureEnum(orvNodeHandle node, const char* feature, const char* entry) {
    orvNodeHandle current = NULL;
    size_t now = 0, wanted = 0;
    if (node && orvctlEnumConstant(feature, entry, &wanted) &&
        orvEnumerationGetCurrentEntry(node, &current) == ORVANE_ERR_SUCCESS &&
        orvEnumerationEntryGetEnumValue(current, &now) == ORVANE_ERR_SUCCESS && now == wanted)
        return 1;
    return orvctlSetEnum(node, feature, entry);
}

static int setFloat(orvNodeHandle node, const char* feature, double value) {
    char what[128];
    if (!node) {
        fprintf(stderr, "orvctl: the camera has no feature '%s'\n", feature);
        return 0;
    }
    snprintf(what, sizeof what, "setting %s to %g", feature, value);
    if (!orvctlCheck(orvFloatSetValue(node, value), what)) {
        orvctlExplain(node, feature);
        return 0;
    }
    return 1;
}

/* A timed exposure of `us` microseconds: automatic exposure off and the timed
 * mode first, where the camera has them. */
static int setExposure(const quickOrv* q, double us) {
    if (q->ExposureAuto && !ensureEnum(q->ExposureAuto, "ExposureAuto", "Off")) return 0;
    if (q->ExposureMode && !ensureEnum(q->ExposureMode, "ExposureMode", "Timed")) return 0;
    return setFloat(q->ExposureTime, "ExposureTime", us);
}

/* The gain of every channel (GainSelector All, where the camera has it), with
 * automatic gain off. */
static int setGain(const quickOrv* q, double db) {
    orvNodeHandle all = NULL;
    if (q->GainAuto && !ensureEnum(q->GainAuto, "GainAuto", "Off")) return 0;
    if (q->GainSelector && orvEnumerationGetEntryByName(q->GainSelector, "All", &all) == ORVANE_ERR_SUCCESS && all &&
        !ensureEnum(q->GainSelector, "GainSelector", "All"))
        return 0;
    return setFloat(q->Gain, "Gain", db);
}

static int setUpTrigger(const quickOrv* q, Restore* r, orvNodeHandle* triggerSoftware) {
    orvctlSaveEnum(q->TriggerSelector, &r->triggerSelector);
    if (!orvctlSetEnum(q->TriggerSelector, "TriggerSelector", "FrameStart")) return 0;
    orvctlSaveEnum(q->TriggerMode, &r->triggerMode);
    orvctlSaveEnum(q->TriggerSource, &r->triggerSource);
    r->triggerSet = 1;
    if (!orvctlSetEnum(q->TriggerMode, "TriggerMode", "On") ||
        !orvctlSetEnum(q->TriggerSource, "TriggerSource", "Software"))
        return 0;
    if (!q->TriggerSoftware) {
        fprintf(stderr, "orvctl: the camera has no feature 'TriggerSoftware'\n");
        return 0;
    }
    *triggerSoftware = q->TriggerSoftware;
    return 1;
}

static int restoreSettings(orvNodeMapHandle map, const quickOrv* q, const Restore* r) {
    int ok = 1;
    if (r->triggerSet) {
        ok = orvctlSetEnum(q->TriggerSelector, "TriggerSelector", "FrameStart") && ok;
        ok = orvctlRestoreEnum(&r->triggerSource, "TriggerSource") && ok;
        if (r->triggerMode.saved)
            ok = orvctlRestoreEnum(&r->triggerMode, "TriggerMode") && ok;
        else
            ok = orvctlSetEnum(q->TriggerMode, "TriggerMode", "Off") && ok;
        ok = orvctlRestoreEnum(&r->triggerSelector, "TriggerSelector") && ok;
    }
    if (r->chunkModeSet) {
        if (r->chunkSelector[0]) ok = orvctlSetFeature(map, "ChunkSelector", r->chunkSelector) && ok;
        ok = orvctlSetFeature(map, "ChunkModeActive", r->chunkMode) && ok;
    }
    return ok;
}

/* Device events (--events) ------------------------------------------------
 * The callback runs on the camera's device event thread while the grab loop
 * runs on the main thread: `mutex` guards the count and the time of the last
 * event, and stdout is locked (flockfile) around each event's line and
 * around each frame's lines, so that lines never mix. Owner: orvctlGrab,
 * which registers the handler after setting up the events and unregisters it
 * (waiting for a running callback) before anything here goes away. */
typedef struct {
    orvNodeMapHandle device;
    pthread_mutex_t mutex;
    unsigned long long count;
    double lastAt;
} EventPrinter;

/* The events turned on, and what to put back. */
typedef struct {
    int count;
    char names[MAX_EVENTS][64];
    OrvctlSavedEnum notification[MAX_EVENTS];
    OrvctlSavedEnum selector;
    orvDeviceEventHandler handler;
    int registered;
    int printerReady;
    EventPrinter printer;
} GrabEvents;

/* One line per event: its name, id, and the frame id and timestamp its data
 * features (Event<Name>FrameID, Event<Name>Timestamp) show, "-" for those the
 * event lacks. */
static void onDeviceEvent(orvDeviceEventData data, const char* eventName, void* userData) {
    EventPrinter* p = (EventPrinter*)userData;
    uint64_t id = 0;
    int64_t value = 0;
    char feature[160], frame[32] = "-", timestamp[32] = "-", line[320];
    orvDeviceEventGetId(data, &id);
    snprintf(feature, sizeof feature, "Event%sFrameID", eventName);
    if (orvctlGetInteger(p->device, feature, &value)) snprintf(frame, sizeof frame, "%lld", (long long)value);
    snprintf(feature, sizeof feature, "Event%sTimestamp", eventName);
    if (orvctlGetInteger(p->device, feature, &value)) snprintf(timestamp, sizeof timestamp, "%lld", (long long)value);
    snprintf(line, sizeof line, "event %s: id 0x%llx, frame %s, timestamp %s\n", eventName[0] ? eventName : "-",
             (unsigned long long)id, frame, timestamp);
    flockfile(stdout);
    fputs(line, stdout);
    fflush(stdout);
    funlockfile(stdout);
    pthread_mutex_lock(&p->mutex);
    ++p->count;
    p->lastAt = now();
    pthread_mutex_unlock(&p->mutex);
}

/* Whether the camera's EventSelector has this entry, available. */
static int hasEvent(orvNodeHandle selector, const char* name) {
    orvNodeHandle entry = NULL;
    bool8_t available = 0;
    return orvEnumerationGetEntryByName(selector, name, &entry) == ORVANE_ERR_SUCCESS && entry &&
           orvNodeIsAvailable(entry, &available) == ORVANE_ERR_SUCCESS && available;
}

/* Adds an event name (a part of the --events list); 0 after a message. */
static int addEvent(GrabEvents* e, orvNodeHandle selector, const char* name, size_t length) {
    int i;
    if (length == 0 || length >= sizeof e->names[0]) {
        fprintf(stderr, "orvctl: '%.*s' is no event name\n", (int)length, name);
        return 0;
    }
    for (i = 0; i < e->count; ++i)
        if (strlen(e->names[i]) == length && strncmp(e->names[i], name, length) == 0) return 1; /* named twice */
    if (e->count == MAX_EVENTS) {
        fprintf(stderr, "orvctl: at most %d events\n", MAX_EVENTS);
        return 0;
    }
    memcpy(e->names[e->count], name, length);
    e->names[e->count][length] = '\0';
    if (!hasEvent(selector, e->names[e->count])) {
        fprintf(stderr, "orvctl: the camera has no event '%s'\n", e->names[e->count]);
        orvctlExplain(selector, "EventSelector");
        return 0;
    }
    ++e->count;
    return 1;
}

/* Turns on the notification of the chosen events (saving what they were) and
 * registers one handler for each of them by name. */
static int setUpEvents(const GrabOptions* o, OrvctlCamera* camera, const quickOrv* q, GrabEvents* e) {
    const char* p;
    int i;
    if (!q->EventSelector || !q->EventNotification) {
        fprintf(stderr, "orvctl: the camera has no device events (no EventSelector and EventNotification)\n");
        return 0;
    }
    if (o->eventList) {
        for (p = o->eventList;;) {
            const char* comma = strchr(p, ',');
            const size_t length = comma ? (size_t)(comma - p) : strlen(p);
            if (!addEvent(e, q->EventSelector, p, length)) return 0;
            if (!comma) break;
            p = comma + 1;
        }
    } else {
        for (i = 0; i < (int)(sizeof kDefaultEvents / sizeof kDefaultEvents[0]); ++i)
            if (hasEvent(q->EventSelector, kDefaultEvents[i]))
                addEvent(e, q->EventSelector, kDefaultEvents[i], strlen(kDefaultEvents[i]));
        if (e->count == 0) {
            fprintf(stderr, "orvctl: the camera has none of the events --events turns on by default; name them\n");
            orvctlExplain(q->EventSelector, "EventSelector");
            return 0;
        }
    }
    orvctlSaveEnum(q->EventSelector, &e->selector);
    for (i = 0; i < e->count; ++i) {
        if (!orvctlSetFeature(camera->device, "EventSelector", e->names[i])) return 0;
        orvctlSaveEnum(q->EventNotification, &e->notification[i]);
        if (!orvctlSetEnum(q->EventNotification, "EventNotification", "On")) return 0;
    }
    e->printer.device = camera->device;
    if (pthread_mutex_init(&e->printer.mutex, NULL) != 0) {
        fprintf(stderr, "orvctl: cannot make a mutex\n");
        return 0;
    }
    e->printerReady = 1;
    if (!orvctlCheck(orvDeviceEventHandlerCreate(&e->handler, onDeviceEvent, &e->printer),
                     "creating the device event handler"))
        return 0;
    for (i = 0; i < e->count; ++i) {
        char what[128];
        snprintf(what, sizeof what, "registering the handler of the %s event", e->names[i]);
        if (!orvctlCheck(orvCameraRegisterDeviceEventHandlerEx(camera->camera, e->handler, e->names[i]), what))
            return 0;
        e->registered = 1;
    }
    return 1;
}

/* Waits until no event came for 100 ms (2 s at most), so that the events of
 * the last frames and of the acquisition's end are printed. */
static void waitForQuietEvents(EventPrinter* p) {
    const double start = now();
    for (;;) {
        const struct timespec pause = {0, 10L * 1000 * 1000};
        double last, t;
        pthread_mutex_lock(&p->mutex);
        last = p->lastAt > start ? p->lastAt : start;
        pthread_mutex_unlock(&p->mutex);
        t = now();
        if (t - last >= 0.1 || t - start >= 2.0) return;
        nanosleep(&pause, NULL);
    }
}

static unsigned long long eventCount(EventPrinter* p) {
    unsigned long long n;
    pthread_mutex_lock(&p->mutex);
    n = p->count;
    pthread_mutex_unlock(&p->mutex);
    return n;
}

/* Unregisters the handler, then puts every notification and the selector back. */
static int restoreEvents(OrvctlCamera* camera, const quickOrv* q, GrabEvents* e) {
    int ok = 1, i;
    if (e->registered && !orvctlCheck(orvCameraUnregisterDeviceEventHandler(camera->camera, e->handler),
                                      "unregistering the device event handler"))
        ok = 0;
    if (e->handler && !orvctlCheck(orvDeviceEventHandlerDestroy(e->handler), "freeing the device event handler"))
        ok = 0;
    for (i = e->count - 1; i >= 0; --i) {
        if (!e->notification[i].saved) continue;
        ok = orvctlSetFeature(camera->device, "EventSelector", e->names[i]) && ok;
        ok = orvctlRestoreEnum(&e->notification[i], "EventNotification") && ok;
    }
    if (e->count) ok = orvctlRestoreEnum(&e->selector, "EventSelector") && ok;
    if (e->printerReady) pthread_mutex_destroy(&e->printer.mutex);
    (void)q;
    return ok;
}

static int makeDirectory(const char* dir) {
    if (orvctlIsDirectory(dir)) return 1;
    if (mkdir(dir, 0777) == 0) return 1;
    fprintf(stderr, "orvctl: cannot create the directory '%s': %s\n", dir, strerror(errno));
    return 0;
}

int orvctlGrab(orvSystem system, int argc, char** argv) {
    GrabOptions options;
    GrabRun run;
    OrvctlCamera camera;
    Restore restore;
    GrabEvents events;
    quickOrv q;
    orvNodeMapHandle stream = NULL;
    orvNodeHandle triggerSoftware = NULL;
    struct sigaction action, previous;
    int64_t streamLost = -1;
    int status = 1, acquiring = 0, handlerSet = 0;
    unsigned long long i;

    if (!parseOptions(argc, argv, &options)) return 2;
    memset(&run, 0, sizeof run);
    memset(&restore, 0, sizeof restore);
    memset(&events, 0, sizeof events);
    memset(&q, 0, sizeof q);
    run.options = &options;
    run.bar.enabled = isatty(fileno(stderr));
    if (options.saveDir && !makeDirectory(options.saveDir)) return 1;
    if (!orvctlOpenCamera(system, options.serial, &camera)) return 1;
    if (!orvctlInitCamera(&camera)) goto done;
    if (!orvctlCheck(quickOrvInit(camera.camera, &q), "filling the QuickOrv structure")) goto done;
    if (options.pixelFormat && !orvctlSetEnum(q.PixelFormat, "PixelFormat", options.pixelFormat)) goto done;
    if (options.exposureGiven && !setExposure(&q, options.exposure)) goto done;
    if (options.gainGiven && !setGain(&q, options.gain)) goto done;
    if (options.chunks) {
        /* a camera without ChunkModeActive fails in enableAllChunks */
        restore.chunkModeSet =
            orvctlGetString(camera.device, "ChunkModeActive", restore.chunkMode, sizeof restore.chunkMode);
        if (!orvctlGetString(camera.device, "ChunkSelector", restore.chunkSelector, sizeof restore.chunkSelector))
            restore.chunkSelector[0] = '\0';
        if (!enableAllChunks(camera.device)) goto done;
    }
    if (options.softwareTrigger && !setUpTrigger(&q, &restore, &triggerSoftware)) goto done;
    if (options.events && !setUpEvents(&options, &camera, &q, &events)) goto done;
    /* --set comes last: it can adjust what the options before set up */
    for (i = 0; i < (unsigned long long)options.settingCount; ++i) {
        const char* setting = options.settings[i];
        const char* eq = strchr(setting, '=');
        char name[128];
        snprintf(name, sizeof name, "%.*s", (int)(eq - setting), setting);
        if (!orvctlSetFeature(camera.device, name, eq + 1)) goto done;
    }
    if (options.convert &&
        (!orvctlCheck(orvImageProcessorCreate(&run.processor), "creating an image processor") ||
         !orvctlCheck(orvImageProcessorSetColorProcessing(run.processor, options.algorithm), "choosing the algorithm")))
        goto done;
    if (options.stats && !orvctlCheck(orvImageStatisticsCreate(&run.statistics), "creating image statistics"))
        goto done;
    if (!orvctlCheck(orvCameraGetTLStreamNodeMap(camera.camera, &stream), "reading the stream node map")) goto done;

    memset(&action, 0, sizeof action);
    action.sa_handler = onInterrupt;
    sigemptyset(&action.sa_mask);
    gInterrupted = 0;
    handlerSet = sigaction(SIGINT, &action, &previous) == 0;

    if (!orvctlCheck(orvCameraBeginAcquisition(camera.camera), "starting the acquisition")) goto done;
    acquiring = 1;
    run.tally.begin = now();
    drawBar(&run.bar, 0, options.count);
    for (i = 0; i < options.count; ++i) {
        orvImage image = NULL;
        char what[96];
        int ok;
        if (gInterrupted) {
            clearBar(&run.bar);
            fprintf(stderr, "orvctl: interrupted after %llu frames\n", i);
            break;
        }
        if (triggerSoftware && !orvctlCheck(orvCommandExecute(triggerSoftware), "executing TriggerSoftware")) break;
        snprintf(what, sizeof what, "waiting for frame %llu of %llu", i + 1, options.count);
        if (!orvctlCheck(orvCameraGetNextImageEx(camera.camera, options.timeout, &image), what)) {
            clearBar(&run.bar);
            break;
        }
        run.tally.last = now();
        if (i == 0) run.tally.first = run.tally.last;
        flockfile(stdout); /* a frame's lines stay together beside the event lines */
        ok = handleFrame(&run, image);
        fflush(stdout);
        funlockfile(stdout);
        if (!orvctlCheck(orvImageRelease(image), "releasing the image")) ok = 0;
        if (!ok) break;
        drawBar(&run.bar, i + 1, options.count);
    }
    clearBar(&run.bar);
    if (i == options.count) status = 0;
    if (stream) orvctlGetInteger(stream, "StreamLostFrameCount", &streamLost);
    if (events.registered) {
        /* The acquisition ends first (its end is an event too), then the
         * last events are printed, then the summary. */
        if (!orvctlCheck(orvCameraEndAcquisition(camera.camera), "ending the acquisition")) status = 1;
        acquiring = 0;
        waitForQuietEvents(&events.printer);
    }
    printSummary(&run, stream, streamLost);
    if (events.registered) {
        const unsigned long long n = eventCount(&events.printer);
        printf("%llu device event%s\n", n, n == 1 ? "" : "s");
    }

done:
    if (acquiring && !orvctlCheck(orvCameraEndAcquisition(camera.camera), "ending the acquisition")) status = 1;
    if (handlerSet) sigaction(SIGINT, &previous, NULL);
    if (camera.device && !restoreEvents(&camera, &q, &events)) status = 1;
    if (camera.device && !restoreSettings(camera.device, &q, &restore)) status = 1;
    if (run.statistics && !orvctlCheck(orvImageStatisticsDestroy(run.statistics), "freeing the statistics")) status = 1;
    if (run.processor && !orvctlCheck(orvImageProcessorDestroy(run.processor), "freeing the image processor"))
        status = 1;
    orvctlCloseCamera(&camera);
    return status;
}
