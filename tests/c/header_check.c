/* OrvaneC.h compiles on its own, as C99 and as C++, without warnings. */
#include <OrvaneC.h>

int orvaneHeaderCheck(void);
int orvaneHeaderCheck(void) { return (int)sizeof(orvLibraryVersion); }
