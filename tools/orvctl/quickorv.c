/* orvctl: QuickOrv helpers. The C constants of the standard enumeration
 * features come from the library's generated name tables (QuickOrvTables.h,
 * compiled into orvctl from data/quickorv): a user's entry name becomes its
 * constant here, and orvEnumerationSetEnumValue turns the constant into the
 * device's own entry. */
#include <stdio.h>
#include <string.h>

#include "QuickOrvTables.h"
#include "orvctl.h"

const OrvQuickOrvEnumFeature* orvctlEnumFeature(const char* feature) {
    size_t i;
    for (i = 0; i < QUICKORV_ENUM_FEATURE_COUNT; ++i)
        if (strcmp(orvQuickOrvEnumFeatures[i].name, feature) == 0) return &orvQuickOrvEnumFeatures[i];
    return NULL;
}

int orvctlEnumConstant(const char* feature, const char* entry, size_t* value) {
    const OrvQuickOrvEnumFeature* f = orvctlEnumFeature(feature);
    uint32_t i;
    if (!f) return 0;
    for (i = 0; i < f->count; ++i) {
        if (strcmp(orvQuickOrvEnumRows[f->first + i].entry, entry) == 0) {
            *value = orvQuickOrvEnumRows[f->first + i].value;
            return 1;
        }
    }
    return 0;
}

orvNodeHandle orvctlQuickOrvField(const quickOrv* q, const char* feature) {
    const orvNodeHandle* fields = (const orvNodeHandle*)(const void*)q;
    size_t i;
    for (i = 0; i < QUICKORV_CAMERA_FIELD_COUNT; ++i)
        if (strcmp(orvQuickOrvCameraFields[i], feature) == 0) return fields[i];
    return NULL;
}

int orvctlSetEnum(orvNodeHandle node, const char* feature, const char* entry) {
    orvNodeHandle deviceEntry = NULL;
    size_t value = 0;
    char what[192];
    if (!node) {
        fprintf(stderr, "orvctl: the camera has no feature '%s'\n", feature);
        return 0;
    }
    if (!orvctlEnumConstant(feature, entry, &value)) {
        fprintf(stderr, "orvctl: %s has no constant for '%s' (`orvctl enum %s` lists them)\n", feature, entry, feature);
        orvctlExplain(node, feature);
        return 0;
    }
    /* The constant names the entry; the device must have an entry of that name. */
    if (!orvctlCheck(orvEnumerationGetEntryByName(node, entry, &deviceEntry), "looking up the entry")) return 0;
    if (!deviceEntry) {
        fprintf(stderr, "orvctl: the camera's %s has no entry %s\n", feature, entry);
        orvctlExplain(node, feature);
        return 0;
    }
    snprintf(what, sizeof what, "setting %s to %s_%s (%lu)", feature, feature, entry, (unsigned long)value);
    if (!orvctlCheck(orvEnumerationSetEnumValue(node, value), what)) {
        orvctlExplain(node, feature);
        return 0;
    }
    return 1;
}

int orvctlSaveEnum(orvNodeHandle node, OrvctlSavedEnum* saved) {
    orvNodeHandle current = NULL;
    memset(saved, 0, sizeof *saved);
    if (!node || orvEnumerationGetCurrentEntry(node, &current) != ORVANE_ERR_SUCCESS || !current) return 0;
    saved->node = node;
    saved->hasConstant = orvEnumerationEntryGetEnumValue(current, &saved->constant) == ORVANE_ERR_SUCCESS;
    if (!saved->hasConstant && orvEnumerationEntryGetIntValue(current, &saved->integer) != ORVANE_ERR_SUCCESS) return 0;
    saved->saved = 1;
    return 1;
}

int orvctlRestoreEnum(const OrvctlSavedEnum* saved, const char* feature) {
    char what[96];
    if (!saved->saved) return 1;
    snprintf(what, sizeof what, "putting %s back", feature);
    return orvctlCheck(saved->hasConstant ? orvEnumerationSetEnumValue(saved->node, saved->constant)
                                          : orvEnumerationSetIntValue(saved->node, saved->integer),
                       what);
}
