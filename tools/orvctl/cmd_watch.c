/* orvctl watch: cameras arriving and leaving, and the SDK's log messages, as
 * they happen, until Ctrl-C. One line each on stdout:
 *   present SERIAL UNIQUE-ID   (the cameras there when watching starts)
 *   arrival SERIAL UNIQUE-ID
 *   removal SERIAL UNIQUE-ID
 *   log PRIORITY CATEGORY: MESSAGE
 * The arrival and removal lines are written on the SDK's device monitor
 * thread, the log lines on its logging thread; each line goes out whole. */
#include <signal.h>
#include <stdio.h>
#include <string.h>
#include <time.h>

#include "orvctl.h"

static volatile sig_atomic_t g_stop = 0;

static void onSignal(int signal) {
    (void)signal;
    g_stop = 1;
}

/* One whole line on stdout, flushed (a reader of a pipe sees it at once). */
static void emit(const char* line) {
    flockfile(stdout);
    fputs(line, stdout);
    fputc('\n', stdout);
    fflush(stdout);
    funlockfile(stdout);
}

/* "SERIAL UNIQUE-ID" of a camera ("-" for what cannot be read). */
static void describe(orvCamera camera, char* out, size_t size) {
    char unique[128] = "-", serial[64] = "-";
    size_t length = sizeof unique;
    orvNodeMapHandle tl = NULL;
    if (orvCameraGetUniqueID(camera, unique, &length) != ORVANE_ERR_SUCCESS) snprintf(unique, sizeof unique, "-");
    if (orvCameraGetTLDeviceNodeMap(camera, &tl) != ORVANE_ERR_SUCCESS ||
        !orvctlGetString(tl, "DeviceSerialNumber", serial, sizeof serial))
        snprintf(serial, sizeof serial, "-");
    snprintf(out, size, "%s %s", serial, unique);
}

static void onCamera(const char* kind, orvCamera camera) {
    char what[200], line[256];
    describe(camera, what, sizeof what);
    snprintf(line, sizeof line, "%s %s", kind, what);
    emit(line);
}

static void onArrival(orvCamera camera, void* userData) {
    (void)userData;
    onCamera("arrival", camera);
}

static void onRemoval(orvCamera camera, void* userData) {
    (void)userData;
    onCamera("removal", camera);
}

static void onLog(orvLogEventData data, void* userData) {
    char priority[32] = "", category[64] = "", message[1024] = "", line[1200];
    size_t length;
    (void)userData;
    length = sizeof priority;
    if (orvLogDataGetPriorityName(data, priority, &length) != ORVANE_ERR_SUCCESS) snprintf(priority, 32, "-");
    length = sizeof category;
    if (orvLogDataGetCategoryName(data, category, &length) != ORVANE_ERR_SUCCESS) snprintf(category, 64, "-");
    length = sizeof message;
    if (orvLogDataGetLogMessage(data, message, &length) != ORVANE_ERR_SUCCESS) snprintf(message, 1024, "-");
    snprintf(line, sizeof line, "log %s %s: %s", priority, category, message);
    emit(line);
}

/* Log level names of --log, or a number. */
static int logLevelByName(const char* name, orvLogLevel* level) {
    static const struct {
        const char* name;
        orvLogLevel level;
    } kLevels[] = {{"off", ORV_LOG_LEVEL_OFF},       {"fatal", ORV_LOG_LEVEL_FATAL}, {"alert", ORV_LOG_LEVEL_ALERT},
                   {"crit", ORV_LOG_LEVEL_CRIT},     {"error", ORV_LOG_LEVEL_ERROR}, {"warn", ORV_LOG_LEVEL_WARN},
                   {"notice", ORV_LOG_LEVEL_NOTICE}, {"info", ORV_LOG_LEVEL_INFO},   {"debug", ORV_LOG_LEVEL_DEBUG}};
    size_t i;
    for (i = 0; i < sizeof kLevels / sizeof kLevels[0]; ++i)
        if (strcmp(name, kLevels[i].name) == 0) {
            *level = kLevels[i].level;
            return 1;
        }
    fprintf(stderr,
            "orvctl watch: unknown log level '%s' (off, fatal, alert, crit, error, warn, notice, info, debug)\n", name);
    return 0;
}

/* The cameras there now, as "present" lines; discovering them first makes
 * them known, so they do not come again as arrivals. */
static int showPresent(orvSystem system) {
    orvCameraList list = NULL;
    size_t n = 0, i;
    if (!orvctlCheck(orvCameraListCreateEmpty(&list), "creating a camera list")) return 0;
    if (!orvctlCheck(orvSystemGetCameras(system, list), "discovering cameras") ||
        !orvctlCheck(orvCameraListGetSize(list, &n), "counting cameras")) {
        orvCameraListDestroy(list);
        return 0;
    }
    for (i = 0; i < n; ++i) {
        orvCamera camera = NULL;
        if (orvCameraListGet(list, i, &camera) != ORVANE_ERR_SUCCESS) continue;
        onCamera("present", camera);
        orvCameraRelease(camera);
    }
    orvCameraListDestroy(list);
    return 1;
}

int orvctlWatch(orvSystem system, int argc, char** argv) {
    orvInterfaceEventHandler cameras = NULL;
    orvLogEventHandler log = NULL;
    orvLogLevel level = 0;
    int setLevel = 0, status = 1, i;
    struct sigaction action, previousInt, previousTerm;

    for (i = 0; i < argc; ++i) {
        if (strcmp(argv[i], "--log") == 0 && i + 1 < argc) {
            if (!logLevelByName(argv[++i], &level)) return 2;
            setLevel = 1;
        } else {
            fprintf(stderr, "orvctl watch: unknown argument '%s' (usage: orvctl watch [--log LEVEL])\n", argv[i]);
            return 2;
        }
    }
    if (setLevel && !orvctlCheck(orvSystemSetLoggingLevel(system, level), "setting the logging level")) return 1;

    memset(&action, 0, sizeof action);
    action.sa_handler = onSignal;
    sigemptyset(&action.sa_mask);
    sigaction(SIGINT, &action, &previousInt);
    sigaction(SIGTERM, &action, &previousTerm);

    if (!orvctlCheck(orvLogEventHandlerCreate(&log, onLog, NULL), "creating the log handler") ||
        !orvctlCheck(orvSystemRegisterLogEventHandler(system, log), "registering the log handler"))
        goto done;
    if (!showPresent(system)) goto done;
    if (!orvctlCheck(orvInterfaceEventHandlerCreate(&cameras, onArrival, onRemoval, NULL),
                     "creating the arrival and removal handler") ||
        !orvctlCheck(orvSystemRegisterInterfaceEventHandler(system, cameras),
                     "registering the arrival and removal handler")) {
        if (cameras) orvInterfaceEventHandlerDestroy(cameras);
        cameras = NULL;
        goto done;
    }
    fprintf(stderr, "orvctl: watching cameras arrive and leave (Ctrl-C stops)\n");
    while (!g_stop) {
        struct timespec pause = {0, 50000000};
        nanosleep(&pause, NULL);
    }
    status = 0;

done:
    if (cameras) {
        if (!orvctlCheck(orvSystemUnregisterInterfaceEventHandler(system, cameras),
                         "unregistering the arrival and removal handler"))
            status = 1;
        orvInterfaceEventHandlerDestroy(cameras);
    }
    if (log) {
        orvSystemUnregisterLogEventHandler(system, log);
        orvLogEventHandlerDestroy(log);
    }
    sigaction(SIGINT, &previousInt, NULL);
    sigaction(SIGTERM, &previousTerm, NULL);
    return status;
}
