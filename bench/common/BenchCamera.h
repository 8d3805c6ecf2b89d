// The virtual camera VC0001, opened once per benchmark program and closed at
// exit (shared by the benchmarks that stream from it).
#ifndef ORVANE_BENCH_BENCH_CAMERA_H
#define ORVANE_BENCH_BENCH_CAMERA_H

#include "Orvane/Camera.h"
#include "Orvane/CameraList.h"
#include "Orvane/System.h"

namespace orvbench {

struct Camera {
    Camera() {
        system = Orvane::System::GetInstance();
        camera = system->GetCameras().GetBySerial("VC0001");
        camera->Init();
    }
    ~Camera() {
        camera->DeInit();
        camera = nullptr;
        system->ReleaseInstance();
    }
    Orvane::SystemPtr system;
    Orvane::CameraPtr camera;
};

inline Camera& TheCamera() {
    static Camera c;
    return c;
}

} // namespace orvbench

#endif
