/* orvctl list: every interface and its cameras, as a table. */
#include <stdio.h>
#include <string.h>

#include "orvctl.h"

enum { COLUMNS = 6, CELL = 64, MAX_ROWS = 256 };

static const char* const kHeaders[COLUMNS] = {"SERIAL", "VENDOR", "MODEL", "TRANSPORT", "ADDRESS", "ACCESS"};

static void printRow(char cells[COLUMNS][CELL], const int* widths) {
    int c;
    printf(" ");
    for (c = 0; c < COLUMNS; ++c) printf(c ? "  %-*s" : " %-*s", c == COLUMNS - 1 ? 0 : widths[c], cells[c]);
    printf("\n");
}

static int listInterface(orvInterface iface) {
    orvNodeMapHandle map = NULL;
    char id[CELL] = "-", name[CELL] = "-";
    static char rows[MAX_ROWS][COLUMNS][CELL];
    char header[COLUMNS][CELL];
    int widths[COLUMNS];
    int64_t count = 0, i;
    int c, n = 0;
    bool8_t changed = 0;

    if (!orvctlCheck(orvInterfaceUpdateCameras(iface, &changed), "discovering cameras")) return 1;
    if (!orvctlCheck(orvInterfaceGetTLNodeMap(iface, &map), "reading the interface's node map")) return 1;
    orvctlGetString(map, "InterfaceID", id, sizeof id);
    orvctlGetString(map, "InterfaceDisplayName", name, sizeof name);
    orvctlGetInteger(map, "DeviceCount", &count);
    printf("Interface %s (%s): %lld camera%s\n", id, name, (long long)count, count == 1 ? "" : "s");
    if (count == 0) return 0;

    for (c = 0; c < COLUMNS; ++c) {
        snprintf(header[c], CELL, "%s", kHeaders[c]);
        widths[c] = (int)strlen(kHeaders[c]);
    }
    for (i = 0; i < count && n < MAX_ROWS; ++i, ++n) {
        if (!orvctlSetInteger(map, "DeviceSelector", i)) break;
        if (!orvctlGetString(map, "DeviceSerialNumber", rows[n][0], CELL)) snprintf(rows[n][0], CELL, "-");
        if (!orvctlGetString(map, "DeviceVendorName", rows[n][1], CELL)) snprintf(rows[n][1], CELL, "-");
        if (!orvctlGetString(map, "DeviceModelName", rows[n][2], CELL)) snprintf(rows[n][2], CELL, "-");
        snprintf(rows[n][3], CELL, "%s", id);
        if (!orvctlGetString(map, "DeviceAddress", rows[n][4], CELL)) snprintf(rows[n][4], CELL, "-");
        if (!orvctlGetString(map, "DeviceAccessStatus", rows[n][5], CELL)) snprintf(rows[n][5], CELL, "-");
        for (c = 0; c < COLUMNS; ++c)
            if ((int)strlen(rows[n][c]) > widths[c]) widths[c] = (int)strlen(rows[n][c]);
    }
    printRow(header, widths);
    for (i = 0; i < n; ++i) printRow(rows[i], widths);
    return 0;
}

int orvctlList(orvSystem system, int argc, char** argv) {
    orvInterfaceList interfaces = NULL;
    size_t n = 0, i;
    int status = 0;
    (void)argv;
    if (argc > 0) {
        fprintf(stderr, "orvctl list: takes no arguments\n");
        return 2;
    }
    if (!orvctlCheck(orvInterfaceListCreateEmpty(&interfaces), "creating an interface list")) return 1;
    if (!orvctlCheck(orvSystemGetInterfaces(system, interfaces), "listing interfaces") ||
        !orvctlCheck(orvInterfaceListGetSize(interfaces, &n), "counting interfaces")) {
        orvInterfaceListDestroy(interfaces);
        return 1;
    }
    if (n == 0) printf("No interfaces: every transport is disabled (see --transport).\n");
    for (i = 0; i < n; ++i) {
        orvInterface iface = NULL;
        if (!orvctlCheck(orvInterfaceListGet(interfaces, i, &iface), "opening an interface")) {
            status = 1;
            continue;
        }
        if (i > 0) printf("\n");
        status |= listInterface(iface);
        orvInterfaceRelease(iface);
    }
    orvInterfaceListDestroy(interfaces);
    return status;
}
