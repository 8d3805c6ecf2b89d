// Soak: streams frames from a virtual camera through whole life cycles
// (enumerate, Init, BeginAcquisition, grab, EndAcquisition, DeInit), with
// every image converted to BGR8 and every 100th saved as PNG, and watches the
// process's resident memory and open file descriptors.
//
//   cycle_soak [FRAMES [FRAMES_PER_CYCLE]]     (defaults: 20000, 200)
//
// Prints the figures at the start and every 1,000 frames. Exits 1 when, after
// the first 1,000 frames (warm-up: pools, caches, lazy tables), resident memory
// grows by more than ORVANE_SOAK_MAX_GROWTH_KB (default 4096) or the number of
// open descriptors grows at all; 0 otherwise. The test suite runs the short
// form (2,000 frames); scripts/soak.sh the long one.
#include <dirent.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include "Orvane/Camera.h"
#include "Orvane/CameraList.h"
#include "Orvane/GenApi/GenApi.h"
#include "Orvane/Image.h"
#include "Orvane/ImageProcessor.h"
#include "Orvane/System.h"

using namespace Orvane;
using namespace Orvane::GenApi;

namespace {

long ResidentKb() {
    long pages = 0, resident = 0;
    if (FILE* f = std::fopen("/proc/self/statm", "r")) {
        if (std::fscanf(f, "%ld %ld", &pages, &resident) != 2) resident = 0;
        std::fclose(f);
    }
    return resident * (sysconf(_SC_PAGESIZE) / 1024);
}

int OpenDescriptors() {
    int n = 0;
    if (DIR* d = opendir("/proc/self/fd")) {
        while (dirent* e = readdir(d))
            if (e->d_name[0] != '.') ++n;
        closedir(d);
        --n; // the directory's own descriptor
    }
    return n;
}

} // namespace

int main(int argc, char** argv) {
    const long frames = argc > 1 ? std::atol(argv[1]) : 20000;
    const long perCycle = argc > 2 ? std::atol(argv[2]) : 200;
    const char* growthText = std::getenv("ORVANE_SOAK_MAX_GROWTH_KB");
    const long maxGrowthKb = growthText ? std::atol(growthText) : 4096;
    if (frames <= 0 || perCycle <= 0) {
        std::fprintf(stderr, "usage: cycle_soak [FRAMES [FRAMES_PER_CYCLE]]\n");
        return 2;
    }
    const std::string png = std::string("/tmp/orvane-soak-") + std::to_string(getpid()) + ".png";
    std::printf("%8s %10s %5s\n", "frames", "RSS kB", "fds");
    std::printf("%8d %10ld %5d\n", 0, ResidentKb(), OpenDescriptors());
    long baseRss = 0, worstRss = 0;
    int baseFds = 0, worstFds = 0;
    long done = 0, incomplete = 0;
    try {
        ImageProcessor processor;
        while (done < frames) {
            SystemPtr system = System::GetInstance();
            {
                CameraList cameras = system->GetCameras();
                CameraPtr camera = cameras.GetBySerial("VC0001");
                if (!camera) {
                    std::fprintf(stderr, "no virtual camera VC0001\n");
                    return 2;
                }
                camera->Init();
                INodeMap& map = camera->GetNodeMap();
                CIntegerPtr(map.GetNode("Width"))->SetValue(320);
                CIntegerPtr(map.GetNode("Height"))->SetValue(240);
                CEnumerationPtr(map.GetNode("PixelFormat"))->FromString(done / perCycle % 2 ? "BayerRG8" : "Mono8");
                CFloatPtr(map.GetNode("ExposureTime"))->SetValue(100.0);
                CBooleanPtr(map.GetNode("AcquisitionFrameRateEnable"))->SetValue(true);
                CFloatPtr(map.GetNode("AcquisitionFrameRate"))->SetValue(1000.0);
                camera->BeginAcquisition();
                for (long i = 0; i < perCycle && done < frames; ++i) {
                    ImagePtr image = camera->GetNextImage(5000);
                    if (image->IsIncomplete()) ++incomplete;
                    ImagePtr converted;
                    processor.Convert(image, converted, PixelFormat_BGR8);
                    if (done % 100 == 0) converted->Save(png.c_str());
                    image->Release();
                    ++done;
                    if (done % 1000 == 0) {
                        const long rss = ResidentKb();
                        const int fds = OpenDescriptors();
                        std::printf("%8ld %10ld %5d\n", done, rss, fds);
                        std::fflush(stdout);
                        if (done == 1000) {
                            baseRss = worstRss = rss;
                            baseFds = worstFds = fds;
                        } else if (done > 1000) {
                            if (rss > worstRss) worstRss = rss;
                            if (fds > worstFds) worstFds = fds;
                        }
                    }
                }
                camera->EndAcquisition();
                camera->DeInit();
            }
            system->ReleaseInstance();
        }
    } catch (const Exception& e) {
        std::fprintf(stderr, "soak failed after %ld frames: %s\n", done, e.what());
        std::remove(png.c_str());
        return 1;
    }
    std::remove(png.c_str());
    std::printf(
        "%ld frames (%ld incomplete); after the first 1000: RSS grew %ld kB (bound %ld), descriptors %d -> %d\n", done,
        incomplete, worstRss - baseRss, maxGrowthKb, baseFds, worstFds);
    if (done > 1000 && (worstRss - baseRss > maxGrowthKb || worstFds > baseFds)) {
        std::printf("FAILED: growth beyond the bound\n");
        return 1;
    }
    return 0;
}
