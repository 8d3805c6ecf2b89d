/* orvctl enum: the C constants of a standard enumeration feature, and with a
 * camera, the camera's own entries beside them. */
#include <stdio.h>
#include <string.h>

#include "orvctl.h"

static const char kEnumUsage[] = "usage: orvctl enum [FEATURE [SERIAL]]\n";

static void constantName(const OrvQuickOrvEnumRow* row, char* out, size_t size) {
    snprintf(out, size, "%s_%s = %lu", row->feature, row->entry, (unsigned long)row->value);
}

static void listFeatures(void) {
    size_t i;
    printf("%d enumeration features have C constants (<Feature>_<Entry>, numbered from 0):\n",
           QUICKORV_ENUM_FEATURE_COUNT);
    for (i = 0; i < QUICKORV_ENUM_FEATURE_COUNT; ++i)
        printf("  %-40s %3lu\n", orvQuickOrvEnumFeatures[i].name, (unsigned long)orvQuickOrvEnumFeatures[i].count);
}

/* The entry's symbolic name, device integer and availability, as one text. */
static int describeEntry(orvNodeHandle entry, char* name, size_t nameSize, char* out, size_t size) {
    int64_t integer = 0;
    bool8_t available = 0;
    size_t length = nameSize;
    if (orvEnumerationEntryGetSymbolic(entry, name, &length) != ORVANE_ERR_SUCCESS ||
        orvEnumerationEntryGetIntValue(entry, &integer) != ORVANE_ERR_SUCCESS ||
        orvNodeIsAvailable(entry, &available) != ORVANE_ERR_SUCCESS)
        return 0;
    snprintf(out, size, "%s (device value %lld)%s", name, (long long)integer, available ? "" : " not available");
    return 1;
}

static int listOnCamera(orvSystem system, const OrvQuickOrvEnumFeature* f, const char* serial, int width) {
    OrvctlCamera camera;
    quickOrv q;
    orvNodeHandle node, current = NULL;
    char currentName[128] = "-";
    size_t n = 0, i, length = sizeof currentName;
    int status = 1;
    if (!orvctlOpenCamera(system, serial, &camera)) return 1;
    if (!orvctlInitCamera(&camera) || !orvctlCheck(quickOrvInit(camera.camera, &q), "filling the QuickOrv structure"))
        goto done;
    node = orvctlQuickOrvField(&q, f->name);
    if (!node) {
        fprintf(stderr, "orvctl: the camera has no feature '%s'\n", f->name);
        goto done;
    }
    if (!orvctlCheck(orvEnumerationGetNumEntries(node, &n), "counting the entries")) goto done;
    if (orvEnumerationGetCurrentEntry(node, &current) == ORVANE_ERR_SUCCESS)
        orvEnumerationEntryGetSymbolic(current, currentName, &length);
    printf("%s on %s: %lu constants, %lu device entries, current %s\n", f->name, serial, (unsigned long)f->count,
           (unsigned long)n, currentName);
    for (i = 0; i < f->count; ++i) {
        const OrvQuickOrvEnumRow* row = &orvQuickOrvEnumRows[f->first + i];
        orvNodeHandle entry = NULL;
        char constant[160], name[128], device[192] = "-";
        constantName(row, constant, sizeof constant);
        if (!orvctlCheck(orvEnumerationGetEntryByName(node, row->entry, &entry), "looking up an entry")) goto done;
        name[0] = '\0';
        if (entry && !describeEntry(entry, name, sizeof name, device, sizeof device))
            snprintf(device, sizeof device, "?");
        printf("  %-*s  %s%s\n", width, constant, device, entry && strcmp(name, currentName) == 0 ? "  current" : "");
    }
    /* The camera's entries that have no constant (its own extensions). */
    for (i = 0; i < n; ++i) {
        orvNodeHandle entry = NULL;
        size_t value = 0;
        char name[128], device[192];
        if (!orvctlCheck(orvEnumerationGetEntryByIndex(node, i, &entry), "reading an entry")) goto done;
        if (orvEnumerationEntryGetEnumValue(entry, &value) == ORVANE_ERR_SUCCESS) continue;
        if (!describeEntry(entry, name, sizeof name, device, sizeof device)) continue;
        printf("  %-*s  %s%s\n", width, "(no constant)", device, strcmp(name, currentName) == 0 ? "  current" : "");
    }
    status = 0;
done:
    orvctlCloseCamera(&camera);
    return status;
}

int orvctlEnum(orvSystem system, int argc, char** argv) {
    const OrvQuickOrvEnumFeature* f;
    int width = (int)strlen("(no constant)");
    size_t i;
    if (argc > 2 || (argc > 0 && argv[0][0] == '-') || (argc > 1 && argv[1][0] == '-')) {
        fputs(kEnumUsage, stderr);
        return 2;
    }
    if (argc == 0) {
        listFeatures();
        return 0;
    }
    f = orvctlEnumFeature(argv[0]);
    if (!f) {
        fprintf(stderr, "orvctl enum: '%s' has no C constants (`orvctl enum` lists the features that have)\n", argv[0]);
        return 2;
    }
    for (i = 0; i < f->count; ++i) {
        char constant[160];
        constantName(&orvQuickOrvEnumRows[f->first + i], constant, sizeof constant);
        if ((int)strlen(constant) > width) width = (int)strlen(constant);
    }
    if (argc == 2) return listOnCamera(system, f, argv[1], width);
    printf("%s: %lu constants (%sEnum)\n", f->name, (unsigned long)f->count, f->name);
    for (i = 0; i < f->count; ++i) {
        char constant[160];
        constantName(&orvQuickOrvEnumRows[f->first + i], constant, sizeof constant);
        printf("  %s\n", constant);
    }
    return 0;
}
