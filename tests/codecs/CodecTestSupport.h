// Helpers of the codec tests: temporary directories, test images, file bytes,
// error expectations and running a writer without root's privileges.
#ifndef ORVANE_TESTS_CODEC_TEST_SUPPORT_H
#define ORVANE_TESTS_CODEC_TEST_SUPPORT_H

#include <gtest/gtest.h>

#include <dirent.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <functional>
#include <iterator>
#include <string>
#include <vector>

#include "Orvane/Exception.h"
#include "codecs/PixelBuffer.h"

namespace codectest {

// A fresh directory under /tmp (mode 0755), removed with its content.
class TempDir {
public:
    TempDir() {
        char templ[] = "/tmp/orvane-codecs-XXXXXX";
        const char* p = mkdtemp(templ);
        if (p == nullptr) throw std::runtime_error("mkdtemp failed");
        m_path = p;
        chmod(m_path.c_str(), 0755);
    }
    ~TempDir() { Remove(m_path); }
    const std::string& Path() const { return m_path; }
    std::string File(const std::string& name) const { return m_path + "/" + name; }
    // Names in the directory, sorted, without . and ..
    static std::vector<std::string> List(const std::string& dir) {
        std::vector<std::string> names;
        DIR* d = opendir(dir.c_str());
        if (d == nullptr) return names;
        while (dirent* e = readdir(d)) {
            const std::string n = e->d_name;
            if (n != "." && n != "..") names.push_back(n);
        }
        closedir(d);
        std::sort(names.begin(), names.end());
        return names;
    }
    std::vector<std::string> List() const { return List(m_path); }

private:
    static void Remove(const std::string& path) {
        struct stat st;
        if (lstat(path.c_str(), &st) != 0) return;
        if (S_ISDIR(st.st_mode)) {
            chmod(path.c_str(), 0755);
            for (const std::string& n : List(path)) Remove(path + "/" + n);
            rmdir(path.c_str());
        } else {
            unlink(path.c_str());
        }
    }
    std::string m_path;
};

inline std::vector<uint8_t> ReadBytes(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return std::vector<uint8_t>((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
}

inline void WriteBytes(const std::string& path, const std::vector<uint8_t>& bytes) {
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
}

inline bool Exists(const std::string& path) {
    struct stat st;
    return lstat(path.c_str(), &st) == 0;
}

// Pixels of a test image plus the view the writers take.
struct TestImage {
    std::vector<uint8_t> bytes;
    Orvane::codecs::PixelBuffer buffer;
};

// Smooth, colourful content with fine detail (sinusoids): compresses like a
// camera image. Each channel differs; 16-bit images use the full range. A
// stride larger than the row leaves padding bytes (set to 0xEE) that must not
// reach any file.
inline TestImage MakeImage(size_t width, size_t height, Orvane::codecs::ChannelOrder order, int bitDepth,
                           size_t extraStride = 0) {
    using namespace Orvane::codecs;
    TestImage t;
    t.buffer.width = width;
    t.buffer.height = height;
    t.buffer.order = order;
    t.buffer.bitDepth = bitDepth;
    const size_t channels = ChannelCount(order);
    const size_t bps = bitDepth == 16 ? 2 : 1;
    const size_t rowBytes = width * channels * bps;
    t.buffer.stride = extraStride == 0 ? 0 : rowBytes + extraStride;
    const size_t stride = rowBytes + extraStride;
    t.bytes.assign(stride * height, 0xEE);
    const double maxValue = bitDepth == 16 ? 65535.0 : 255.0;
    for (size_t y = 0; y < height; ++y) {
        for (size_t x = 0; x < width; ++x) {
            for (size_t c = 0; c < channels; ++c) {
                const double phase = 0.9 * static_cast<double>(c);
                double v = 0.5 +
                           0.3 * std::sin(0.05 * static_cast<double>(x) + phase) *
                               std::cos(0.037 * static_cast<double>(y) - phase) +
                           0.15 * std::sin(0.011 * static_cast<double>(x + 2 * y) + 3 * phase);
                if (c == 3) v = static_cast<double>((x * 7 + y * 3) % 256) / 255.0; // alpha: a ramp
                const unsigned sample = static_cast<unsigned>(std::lround(std::min(1.0, std::max(0.0, v)) * maxValue));
                uint8_t* p = t.bytes.data() + y * stride + (x * channels + c) * bps;
                if (bps == 1) {
                    *p = static_cast<uint8_t>(sample);
                } else {
                    const uint16_t s16 = static_cast<uint16_t>(sample);
                    std::memcpy(p, &s16, 2);
                }
            }
        }
    }
    t.buffer.data = t.bytes.data();
    return t;
}

// Sample c of pixel (x, y) of a buffer, in the buffer's own channel order.
inline unsigned Sample(const Orvane::codecs::PixelBuffer& b, size_t x, size_t y, size_t c) {
    const uint8_t* p = b.Row(y) + (x * b.Channels() + c) * b.BytesPerSample();
    if (b.bitDepth == 8) return *p;
    uint16_t v;
    std::memcpy(&v, p, 2);
    return v;
}

// The sample of file channel fc (R, G, B, A order; 0 for gray) of a buffer.
inline unsigned SampleRGB(const Orvane::codecs::PixelBuffer& b, size_t x, size_t y, size_t fc) {
    using Orvane::codecs::ChannelOrder;
    const bool swap = b.order == ChannelOrder::BGR || b.order == ChannelOrder::BGRA;
    size_t c = fc;
    if (swap && fc < 3) c = 2 - fc;
    return Sample(b, x, y, c);
}

// Outcome of a call that may raise Orvane::Exception.
struct Outcome {
    bool threw = false;
    int code = 0;
    std::string message;
};

inline Outcome Capture(const std::function<void()>& f) {
    Outcome o;
    try {
        f();
    } catch (const Orvane::Exception& e) {
        o.threw = true;
        o.code = e.GetError();
        o.message = e.GetErrorMessage();
    }
    return o;
}

// Runs f in a child process that has dropped root's privileges (user nobody)
// when the tests run as root, else in this process.
inline Outcome CaptureUnprivileged(const std::function<void()>& f) {
    if (geteuid() != 0) return Capture(f);
    int fds[2];
    if (pipe(fds) != 0) throw std::runtime_error("pipe failed");
    const pid_t pid = fork();
    if (pid == 0) {
        close(fds[0]);
        Outcome o;
        if (setgid(65534) != 0 || setuid(65534) != 0) {
            o.threw = true;
            o.code = 1;
            o.message = "could not drop privileges";
        } else {
            o = Capture(f);
        }
        const std::string text = std::to_string(o.threw) + "\n" + std::to_string(o.code) + "\n" + o.message;
        ssize_t ignored = write(fds[1], text.data(), text.size());
        (void)ignored;
        close(fds[1]);
        _exit(0);
    }
    close(fds[1]);
    std::string text;
    char buf[4096];
    ssize_t n;
    while ((n = read(fds[0], buf, sizeof buf)) > 0) text.append(buf, static_cast<size_t>(n));
    close(fds[0]);
    int status = 0;
    waitpid(pid, &status, 0);
    Outcome o;
    const size_t a = text.find('\n');
    const size_t b = text.find('\n', a + 1);
    if (a == std::string::npos || b == std::string::npos) {
        o.threw = true;
        o.code = 2;
        o.message = "child produced no outcome";
        return o;
    }
    o.threw = text.substr(0, a) == "1";
    o.code = std::stoi(text.substr(a + 1, b - a - 1));
    o.message = text.substr(b + 1);
    return o;
}

inline double Psnr(const std::vector<double>& errors2, double maxValue) {
    double sum = 0;
    for (double e : errors2) sum += e;
    const double mse = sum / static_cast<double>(errors2.size());
    if (mse == 0) return 1e9;
    return 10.0 * std::log10(maxValue * maxValue / mse);
}

} // namespace codectest

#endif
