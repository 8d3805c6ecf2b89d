// A client of the installed Orvane C++ SDK found through find_package.
#include <Orvane/Orvane.h>

#include <iostream>

int main() {
    Orvane::SystemPtr system = Orvane::System::GetInstance();
    Orvane::CameraList cameras = system->GetCameras();
    std::cout << "cameras: " << cameras.GetSize() << "\n";
    for (size_t i = 0; i < cameras.GetSize(); ++i) std::cout << cameras[i]->GetSerialNumber() << "\n";
    cameras.Clear();
    system->ReleaseInstance();
    return 0;
}
