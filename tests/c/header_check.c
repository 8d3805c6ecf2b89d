/* OrvaneC.h compiles on its own, as C99 and as C++, without warnings; so does
 * the QuickOrv header (structures and enumeration constants) on its own. */
#include <OrvaneC.h>
#include <OrvaneQuickOrvC.h>

int orvaneHeaderCheck(void);
int orvaneHeaderCheck(void) {
    return (int)sizeof(orvLibraryVersion) + (int)sizeof(quickOrv) + (int)AcquisitionMode_MultiFrame;
}
