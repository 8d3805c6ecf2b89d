/* OrvaneC.h compiles on its own, as C99 and as C++, without warnings; so does
 * the QuickOrv header (structures and enumeration constants) on its own. */
#include <OrvaneC.h>
#include <OrvaneQuickOrvC.h>

/* The action command result record is 8 bytes in both languages. */
typedef char orvaneHeaderCheckResultSize[sizeof(orvActionCommandResult) == 8 ? 1 : -1];

int orvaneHeaderCheck(void);
int orvaneHeaderCheck(void) {
    orvDeviceEventFunction device = 0;
    orvImageEventFunction image = 0;
    orvImageListEventFunction imageList = 0;
    orvArrivalEventFunction arrival = 0;
    orvRemovalEventFunction removal = 0;
    orvLogEventFunction log = 0;
    return (int)sizeof(orvLibraryVersion) + (int)sizeof(quickOrv) + (int)AcquisitionMode_MultiFrame +
           (int)sizeof(orvaneHeaderCheckResultSize) + (device != 0) + (image != 0) + (imageList != 0) + (arrival != 0) +
           (removal != 0) + (log != 0);
}

#ifdef __cplusplus
/* The two action command functions are declared with C++ linkage and exactly
 * these argument types. */
#include <type_traits>
static_assert(std::is_same<decltype(&orvSystemSendActionCommand),
                           orvError (*)(void*, unsigned int, unsigned int, unsigned int, unsigned long long, bool,
                                        unsigned int*, _actionCommandResult*)>::value,
              "orvSystemSendActionCommand");
static_assert(std::is_same<decltype(&orvInterfaceSendActionCommand),
                           orvError (*)(void*, unsigned int, unsigned int, unsigned int, unsigned long long, bool,
                                        unsigned int*, _actionCommandResult*)>::value,
              "orvInterfaceSendActionCommand");
#endif
