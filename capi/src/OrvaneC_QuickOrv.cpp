// quickOrvInitEx, of the OrvaneC module: the camera structure and the
// camera's transport-layer device and stream structures in one call.
#include "OrvaneCModule.h"

orvError quickOrvInitEx(orvCamera hCamera, quickOrv* pQuickOrv, quickOrvTLDevice* pQuickOrvTLDevice,
                        quickOrvTLStream* pQuickOrvTLStream) {
    return OrvaneCFrame([&]() -> orvError {
        CheckNullHandle(hCamera);
        // Fixed order; a null structure is skipped; the first failure ends the
        // call and leaves the later structures untouched.
        if (pQuickOrv) {
            const orvError error = quickOrvInit(hCamera, pQuickOrv);
            if (error != ORVANE_ERR_SUCCESS) return error;
        }
        if (pQuickOrvTLDevice) {
            const orvError error = quickOrvTLDeviceInit(hCamera, pQuickOrvTLDevice);
            if (error != ORVANE_ERR_SUCCESS) return error;
        }
        if (pQuickOrvTLStream) return quickOrvTLStreamInit(hCamera, pQuickOrvTLStream);
        return ORV_OK;
    });
}
