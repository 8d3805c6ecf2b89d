/* orvctl: list, inspect, configure and stream Orvane cameras from the shell. */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "orvctl.h"

static const OrvctlCommand kCommands[] = {
    {"list", "list every interface and its cameras", "orvctl [options] list", orvctlList},
    {"info", "show a camera's identity, transport, access mode and node map sizes", "orvctl [options] info SERIAL",
     orvctlInfo},
    {"features", "print a camera's (or a GenICam XML file's) feature tree with types, access modes and values",
     "orvctl [options] features SERIAL [--tl device|stream] [beginner|expert|guru|all]\n"
     "orvctl [options] features --xml FILE [beginner|expert|guru|all]\n\n"
     "Without --tl the camera's own (device) features are shown; the camera is initialised for it.\n"
     "--tl device / --tl stream show the transport layer's device or stream features instead.\n"
     "--xml FILE shows the features of a GenICam XML description without a camera: its registers read\n"
     "as zero-filled memory, and a value that cannot be read shows why, in parentheses (not implemented,\n"
     "not available, write-only, or the error). A malformed description is reported with its line,\n"
     "element and reason.\n"
     "The last argument limits the visibility shown (default guru: everything but invisible features).",
     orvctlFeatures},
    {"get", "print one feature's value", "orvctl [options] get SERIAL FEATURE [--tl device|stream]", orvctlGet},
    {"set", "write one feature (a command runs with the value 'execute')",
     "orvctl [options] set SERIAL FEATURE VALUE [--tl device|stream]\n\n"
     "The value is text as `get` prints it: a number, an enumeration entry's name, true/false, ...\n"
     "A refused value is explained: the feature's range, increment, entries or access mode.",
     orvctlSet},
    {"enum", "list the C constants of a standard enumeration feature, and a camera's entries beside them",
     "orvctl [options] enum [FEATURE [SERIAL]]\n\n"
     "Without FEATURE: the standard enumeration features that have C constants, with their counts.\n"
     "FEATURE: its constants <Feature>_<Entry> with their values (the entry's position, from 0); a C\n"
     "program passes them to orvEnumerationSetEnumValue, and orvEnumerationEntryGetEnumValue gives them back.\n"
     "SERIAL: beside each constant, the camera's entry of that name with the camera's own integer for it\n"
     "(- when the camera lacks the entry), then the camera's entries that have no constant; the current\n"
     "entry is marked. The camera is initialised for it.",
     orvctlEnum},
    {"grab", "stream frames from a camera: summary, chunk data, statistics, image files",
     "orvctl [options] grab SERIAL [-n N] [--timeout MS] [--pixel-format F] [--exposure US] [--gain DB]\n"
     "                   [--set FEATURE=VALUE]... [--trigger software] [--chunks] [--events [NAME,...]]\n"
     "                   [--convert FORMAT [--algorithm NAME]] [--save DIR [--format FMT]] [--stats]\n\n"
     "Streams N frames, then prints a summary: frames, incomplete frames, lost frames (the stream's\n"
     "lost-frame counter: frames that never arrived), first and last frame id, frame rate and data rate\n"
     "(the bytes that arrived, incomplete frames included), and the stream's counters. A progress bar\n"
     "goes to stderr when it is a terminal.\n\n"
     "-n N              frames to grab (default 10)\n"
     "--timeout MS      longest wait for one frame, in milliseconds (default 5000)\n"
     "--pixel-format F  set PixelFormat first (GenICam name: Mono8, BayerRG8, RGB8, ...; `orvctl enum\n"
     "                  PixelFormat` lists the names)\n"
     "--exposure US     timed exposure of US microseconds (ExposureAuto Off, ExposureMode Timed first)\n"
     "--gain DB         gain of all channels in dB (GainAuto Off, GainSelector All first)\n"
     "--set F=VALUE     write a feature of the camera (repeatable; values as `set` takes them:\n"
     "                  TestPattern=ColorBar, BlackLevel=2, ...). Written in order after what the\n"
     "                  options above and --chunks and --trigger set, just before the acquisition starts\n"
     "--trigger software\n"
     "                  trigger each frame by software (FrameStart trigger on, source Software); the\n"
     "                  trigger selector, mode and source are put back afterwards\n"
     "The pixel format, exposure, gain and trigger are set through the camera's QuickOrv structure and\n"
     "the C enumeration constants (PixelFormat_BayerRG8, TriggerMode_On, ...); they stay set.\n"
     "--chunks          turn chunk mode on with every chunk, print each frame's chunk values (- when\n"
     "                  the frame does not carry one); chunk mode is put back afterwards\n"
     "--events [NAME,...]\n"
     "                  turn on the camera's device events of these names (after SERIAL; without\n"
     "                  names: AcquisitionStart, ExposureEnd, FrameTriggerMissed and AcquisitionEnd,\n"
     "                  those the camera has) and print one line per event (name, id, frame id and\n"
     "                  timestamp from its data features) beside a line per frame, then their count;\n"
     "                  their notification is put back afterwards\n"
     "--convert FORMAT  convert each frame to this pixel format (Mono8, RGB8, BGR8, ...)\n"
     "--algorithm NAME  demosaicing for --convert: default, none, nearest, bilinear, edge-aware,\n"
     "                  gradient-corrected, directional\n"
     "--save DIR        write each frame (converted, with --convert) to DIR/SERIAL-FRAMEID.EXT; DIR is\n"
     "                  created when missing\n"
     "--format FMT      file format for --save: png (default), jpeg, tiff, bmp, ppm, pgm, jp2 or raw\n"
     "--stats           print each frame's minimum, maximum and mean per channel (grey for Mono\n"
     "                  formats, else red, green and blue)\n"
     "Ctrl-C stops after the current frame and still puts the camera's settings back.",
     orvctlGrab},
    {"watch", "print cameras arriving and leaving, and the SDK's log messages, until Ctrl-C",
     "orvctl [options] watch [--log LEVEL]\n\n"
     "First one line per camera there now, then one line per event as it happens:\n"
     "  present SERIAL UNIQUE-ID\n"
     "  arrival SERIAL UNIQUE-ID\n"
     "  removal SERIAL UNIQUE-ID\n"
     "  log PRIORITY CATEGORY: MESSAGE\n"
     "Arrivals and removals come from the SDK's device monitor: it rediscovers the enabled interfaces\n"
     "(a GigE Vision discovery takes about a second) and reports a camera whose connection is lost at\n"
     "once. Ctrl-C (or SIGTERM) stops; the exit status is then 0.\n\n"
     "--log LEVEL   the SDK's logging level: off, fatal, alert, crit, error (the default), warn, notice,\n"
     "              info or debug",
     orvctlWatch},
    {"action", "send an action command; print one line per acknowledging device",
     "orvctl [options] action --device-key K --group-key G --group-mask M [--time T] [--interface ID]\n"
     "                     [--no-ack] [--trigger SERIAL]... [--timeout MS]\n\n"
     "Every camera whose ActionDeviceKey is K and, for one of its actions, whose ActionGroupKey is G and\n"
     "whose ActionGroupMask shares a bit with M performs the action (a frame when TriggerSource is\n"
     "Action0). Numbers are decimal, or hexadecimal with 0x. Each acknowledging device gives one line:\n"
     "  ADDRESS status 0xCODE (MEANING)\n"
     "(virtual cameras answer as 0.0.0.N; 0x8016: the action time had passed, 0x8015: the device's queue\n"
     "of scheduled actions was full); a count goes to stderr.\n\n"
     "--time T          device time in ns at which to act (default 0: at once)\n"
     "--interface ID    send on this interface only (Virtual, GigEVision, ...; default: every enabled\n"
     "                  interface that sends action commands)\n"
     "--no-ack          ask for no acknowledgements\n"
     "--trigger SERIAL  open this camera here first (repeatable), set its action keys to K, G, M\n"
     "                  (ActionSelector 0), trigger its frames by Action0 and stream; after the command,\n"
     "                  print \"frame SERIAL FRAMEID\" for the frame it made and put its trigger back.\n"
     "                  Virtual cameras exist in the process that opens them: use it to act on them\n"
     "--timeout MS      longest wait for a triggered camera's frame (default 5000)",
     orvctlAction},
    {"convert", "write the images of an image list file as image files",
     "orvctl [options] convert LIST OUT [--convert PIXELFORMAT] [--algorithm NAME] [--format FMT]\n\n"
     "LIST is an image list file (as ImageList::Save or orvImageListSave writes). OUT is a directory (files "
     "image-0000.png,\n"
     "...), or a file name (one image; several get -0000, -0001, ... before the extension).\n"
     "--convert    pixel format to convert to first (GenICam name: Mono8, RGB8, BGR8, ...)\n"
     "--algorithm  demosaicing for Bayer images: default, none, nearest, bilinear, edge-aware,\n"
     "             gradient-corrected, directional\n"
     "--format     png, jpeg, tiff, bmp, ppm, pgm, jp2 or raw (default: from OUT's extension; png\n"
     "             into a directory)",
     orvctlConvert},
};

static const size_t kCommandCount = sizeof kCommands / sizeof kCommands[0];

static void usage(FILE* out) {
    size_t i;
    fprintf(out,
            "usage: orvctl [options] <command> [arguments]\n"
            "\n"
            "Lists, inspects, configures and streams machine-vision cameras through Orvane.\n"
            "\n"
            "Commands:\n");
    for (i = 0; i < kCommandCount; ++i) fprintf(out, "  %-10s %s\n", kCommands[i].name, kCommands[i].summary);
    fprintf(out,
            "\n"
            "Options:\n"
            "  --transport LIST       transports to discover, comma-separated: virtual, gige, usb3, all\n"
            "                         (default: $ORVANE_TRANSPORTS, else virtual). GigE Vision discovery\n"
            "                         broadcasts on every network adapter.\n"
            "  --virtual-cameras N    number of built-in virtual cameras (default: $ORVANE_VIRTUAL_CAMERAS, else 1)\n"
            "  -h, --help             this text; `orvctl help <command>` explains a command\n"
            "\n"
            "Exit status: 0 success, 1 a camera or SDK operation failed, 2 bad usage.\n");
}

static const OrvctlCommand* findCommand(const char* name) {
    size_t i;
    for (i = 0; i < kCommandCount; ++i)
        if (strcmp(kCommands[i].name, name) == 0) return &kCommands[i];
    return NULL;
}

/* Applies --transport and --virtual-cameras through the system's
 * transport-layer node map. */
static int applyOptions(orvSystem system, const OrvctlOptions* options) {
    orvNodeMapHandle map = NULL;
    if (!orvctlCheck(orvSystemGetTLNodeMap(system, &map), "reading the system's node map")) return 0;
    if (options->transports) {
        const char* names[3] = {"EnumerateVirtualInterfaces", "EnumerateGEVInterfaces", "EnumerateUSBInterfaces"};
        const char* keys[3] = {"virtual", "gige", "usb3"};
        bool8_t enable[3] = {0, 0, 0};
        char list[128];
        char* item;
        char* rest = NULL;
        int k;
        snprintf(list, sizeof list, "%s", options->transports);
        for (item = strtok_r(list, ",", &rest); item; item = strtok_r(NULL, ",", &rest)) {
            int known = 0;
            if (strcmp(item, "all") == 0) {
                enable[0] = enable[1] = enable[2] = 1;
                continue;
            }
            for (k = 0; k < 3; ++k)
                if (strcmp(item, keys[k]) == 0) enable[k] = known = 1;
            if (!known) {
                fprintf(stderr, "orvctl: unknown transport '%s' (virtual, gige, usb3, all)\n", item);
                return -1;
            }
        }
        for (k = 0; k < 3; ++k) {
            orvNodeHandle node = NULL;
            if (!orvctlCheck(orvNodeMapGetNode(map, names[k], &node), "selecting transports") || !node ||
                !orvctlCheck(orvBooleanSetValue(node, enable[k]), "selecting transports"))
                return 0;
        }
    }
    if (options->virtualCameras >= 0) {
        orvNodeHandle node = NULL;
        if (!orvctlCheck(orvNodeMapGetNode(map, "VirtualCameraCount", &node), "setting the virtual camera count") ||
            !node ||
            !orvctlCheck(orvIntegerSetValue(node, options->virtualCameras), "setting the virtual camera count"))
            return 0;
    }
    return 1;
}

int main(int argc, char** argv) {
    OrvctlOptions options = {NULL, -1};
    const OrvctlCommand* command;
    orvSystem system = NULL;
    int i = 1, status, applied;

    for (; i < argc && argv[i][0] == '-'; ++i) {
        if (strcmp(argv[i], "-h") == 0 || strcmp(argv[i], "--help") == 0) {
            usage(stdout);
            return 0;
        } else if (strcmp(argv[i], "--transport") == 0 && i + 1 < argc) {
            options.transports = argv[++i];
        } else if (strcmp(argv[i], "--virtual-cameras") == 0 && i + 1 < argc) {
            char* end = NULL;
            long n = strtol(argv[++i], &end, 10);
            if (!*argv[i] || *end || n < 0 || n > 64) {
                fprintf(stderr, "orvctl: --virtual-cameras takes a number from 0 to 64\n");
                return 2;
            }
            options.virtualCameras = (int)n;
        } else {
            fprintf(stderr, "orvctl: unknown option '%s'\n\n", argv[i]);
            usage(stderr);
            return 2;
        }
    }
    if (i >= argc) {
        usage(stderr);
        return 2;
    }
    if (strcmp(argv[i], "help") == 0) {
        if (i + 1 < argc && (command = findCommand(argv[i + 1])) != NULL) {
            printf("%s\n\n%s\n", command->summary, command->usage);
            return 0;
        }
        usage(stdout);
        return 0;
    }
    command = findCommand(argv[i]);
    if (!command) {
        fprintf(stderr, "orvctl: unknown command '%s'\n\n", argv[i]);
        usage(stderr);
        return 2;
    }
    if (!orvctlCheck(orvSystemGetInstance(&system), "starting the SDK")) return 1;
    applied = applyOptions(system, &options);
    status = applied > 0 ? command->run(system, argc - i - 1, argv + i + 1) : applied < 0 ? 2 : 1;
    orvSystemReleaseInstance(system);
    return status;
}
