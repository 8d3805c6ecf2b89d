// Writer failures: unwritable paths, a write failing midway, invalid options
// and buffers. Every failure raises the exact code, names the file, and leaves
// no file (and no temporary) behind; an existing target stays as it was.
#include <gtest/gtest.h>

#include <signal.h>
#include <sys/resource.h>

#include "CodecTestSupport.h"
#include "codecs/ImageListFile.h"
#include "codecs/ImageWriters.h"

using namespace Orvane;
using namespace Orvane::codecs;
using namespace codectest;

namespace {

typedef std::function<void(const std::string&, const PixelBuffer&)> Writer;

struct NamedWriter {
    const char* name;
    ChannelOrder order;
    int depth;
    Writer write;
};

std::vector<NamedWriter> AllWriters() {
    return {
        {"a.png", ChannelOrder::RGB, 8, [](const std::string& f, const PixelBuffer& b) { WritePNG(f, b); }},
        {"a.jpg", ChannelOrder::BGR, 8, [](const std::string& f, const PixelBuffer& b) { WriteJPEG(f, b); }},
        {"a.tif", ChannelOrder::RGB, 16, [](const std::string& f, const PixelBuffer& b) { WriteTIFF(f, b); }},
        {"a.jp2", ChannelOrder::RGB, 8, [](const std::string& f, const PixelBuffer& b) { WriteJPEG2000(f, b); }},
        {"a.bmp", ChannelOrder::BGR, 8, [](const std::string& f, const PixelBuffer& b) { WriteBMP(f, b); }},
        {"a.pgm", ChannelOrder::Gray, 16, [](const std::string& f, const PixelBuffer& b) { WritePGM(f, b); }},
        {"a.ppm", ChannelOrder::RGB, 8, [](const std::string& f, const PixelBuffer& b) { WritePPM(f, b); }},
        {"a.raw", ChannelOrder::RGB, 8, [](const std::string& f, const PixelBuffer& b) { WriteRaw(f, b); }},
        {"b.raw", ChannelOrder::RGB, 8,
         [](const std::string& f, const PixelBuffer& b) { WriteRawBytes(f, b.data, b.RowBytes() * b.height); }},
        {"a.lst", ChannelOrder::RGB, 8,
         [](const std::string& f, const PixelBuffer& b) {
             ImageRecordView v;
             v.data = b.data;
             v.dataSize = b.RowBytes() * b.height;
             SaveImageList(f, std::vector<ImageRecordView>{v, v});
         }},
    };
}

// Limits the size of files this process may write; restored on destruction.
class FileSizeLimit {
public:
    explicit FileSizeLimit(rlim_t bytes) {
        signal(SIGXFSZ, SIG_IGN);
        getrlimit(RLIMIT_FSIZE, &m_saved);
        rlimit limit = m_saved;
        limit.rlim_cur = bytes;
        setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~FileSizeLimit() { setrlimit(RLIMIT_FSIZE, &m_saved); }

private:
    rlimit m_saved;
};

bool Contains(const std::string& s, const std::string& part) { return s.find(part) != std::string::npos; }

} // namespace

TEST(WriterFailures, MissingDirectory) {
    TempDir dir;
    for (const NamedWriter& w : AllWriters()) {
        SCOPED_TRACE(w.name);
        TestImage img = MakeImage(16, 8, w.order, w.depth);
        const std::string path = dir.File(std::string("missing/") + w.name);
        const Outcome o = Capture([&] { w.write(path, img.buffer); });
        EXPECT_EQ(o.code, ORVANE_ERR_IO);
        const std::string context =
            Contains(w.name, ".lst") ? "Cannot save image list file '" : "Cannot save image file '";
        EXPECT_EQ(o.message, context + path + "': cannot create a file in directory '" + dir.File("missing") +
                                 "': No such file or directory");
        EXPECT_EQ(dir.List(), std::vector<std::string>());
    }
}

TEST(WriterFailures, ReadOnlyDirectory) {
    TempDir dir;
    const std::string ro = dir.File("ro");
    ASSERT_EQ(mkdir(ro.c_str(), 0555), 0);
    ASSERT_EQ(chmod(ro.c_str(), 0555), 0);
    for (const NamedWriter& w : AllWriters()) {
        SCOPED_TRACE(w.name);
        TestImage img = MakeImage(16, 8, w.order, w.depth);
        const std::string path = ro + "/" + w.name;
        const Outcome o = CaptureUnprivileged([&] { w.write(path, img.buffer); });
        EXPECT_EQ(o.code, ORVANE_ERR_IO);
        EXPECT_TRUE(
            Contains(o.message, "'" + path + "': cannot create a file in directory '" + ro + "': Permission denied"))
            << o.message;
        EXPECT_EQ(TempDir::List(ro), std::vector<std::string>());
    }
}

TEST(WriterFailures, WriteFailingMidwayLeavesNothingAndKeepsTheOldFile) {
    TempDir dir;
    for (const NamedWriter& w : AllWriters()) {
        SCOPED_TRACE(w.name);
        // Uncompressible content, so every format's file exceeds the limit.
        TestImage img = MakeImage(256, 256, w.order, w.depth);
        uint32_t state = 12345;
        for (uint8_t& b : img.bytes) {
            state = state * 1103515245u + 12345u;
            b = static_cast<uint8_t>(state >> 24);
        }
        const std::string path = dir.File(w.name);
        WriteBytes(path, {'o', 'l', 'd'});
        Outcome o;
        {
            FileSizeLimit limit(20000);
            o = Capture([&] { w.write(path, img.buffer); });
        }
        EXPECT_EQ(o.code, ORVANE_ERR_IO);
        EXPECT_TRUE(Contains(o.message, "'" + path + "': ")) << o.message;
        EXPECT_TRUE(Contains(o.message, "File too large")) << o.message;
        EXPECT_EQ(dir.List(), std::vector<std::string>{w.name});
        EXPECT_EQ(ReadBytes(path), (std::vector<uint8_t>{'o', 'l', 'd'}));
        // Without the limit the same write replaces the old file.
        w.write(path, img.buffer);
        EXPECT_GT(ReadBytes(path).size(), 20000u);
        EXPECT_EQ(dir.List(), std::vector<std::string>{w.name});
        unlink(path.c_str());
    }
}

TEST(WriterFailures, TargetIsADirectory) {
    TempDir dir;
    const std::string target = dir.File("a.png");
    ASSERT_EQ(mkdir(target.c_str(), 0755), 0);
    TestImage img = MakeImage(16, 8, ChannelOrder::RGB, 8);
    const Outcome o = Capture([&] { WritePNG(target, img.buffer); });
    EXPECT_EQ(o.code, ORVANE_ERR_IO);
    EXPECT_EQ(o.message, "Cannot save image file '" + target + "': cannot replace the file: Is a directory");
    EXPECT_EQ(dir.List(), std::vector<std::string>{"a.png"});
    const Outcome e = Capture([&] { WritePNG(dir.Path() + "/", img.buffer); });
    EXPECT_EQ(e.code, ORVANE_ERR_IO);
    EXPECT_EQ(e.message, "Cannot save image file '" + dir.Path() + "/': the file name is empty or ends with '/'");
}

TEST(WriterFailures, SyncToDiskWritesTheSameFile) {
    TempDir dir;
    TestImage img = MakeImage(30, 20, ChannelOrder::RGB, 8);
    WriteSettings sync;
    sync.syncToDisk = true;
    WritePNG(dir.File("s.png"), img.buffer, PNGOption(), sync);
    WritePNG(dir.File("n.png"), img.buffer);
    EXPECT_EQ(ReadBytes(dir.File("s.png")), ReadBytes(dir.File("n.png")));
    EXPECT_EQ(dir.List(), (std::vector<std::string>{"n.png", "s.png"}));
}

TEST(WriterFailures, RelativeFileName) {
    TempDir dir;
    char cwd[4096];
    ASSERT_NE(getcwd(cwd, sizeof cwd), nullptr);
    ASSERT_EQ(chdir(dir.Path().c_str()), 0);
    TestImage img = MakeImage(10, 10, ChannelOrder::Gray, 8);
    WritePGM("rel.pgm", img.buffer);
    ASSERT_EQ(chdir(cwd), 0);
    EXPECT_EQ(dir.List(), std::vector<std::string>{"rel.pgm"});
}

TEST(WriterFailures, InvalidOptionsRaiseInvalidArgumentAndWriteNothing) {
    TempDir dir;
    TestImage rgb = MakeImage(16, 16, ChannelOrder::RGB, 8);
    TestImage rgb16 = MakeImage(16, 16, ChannelOrder::RGB, 16);
    const std::string f = dir.File("x");
    const std::string p = "Cannot save image file '" + f + "': ";
    struct Case {
        std::function<void()> call;
        std::string message;
    };
    PNGOption png;
    png.compressionLevel = 10;
    PNGOption pngFilter;
    pngFilter.filter = 6;
    JPEGOption jpegQ;
    jpegQ.quality = 0;
    JPEGOption jpegQ2;
    jpegQ2.quality = 101;
    JPEGOption jpegS;
    jpegS.chromaSubsampling = 5;
    TIFFOption tiffC;
    tiffC.compression = 5;
    TIFFOption tiffP;
    tiffP.predictor = 2;
    TIFFOption tiffQ;
    tiffQ.compression = TIFFCompression_JPEG;
    tiffQ.jpegQuality = 0;
    TIFFOption tiffD;
    tiffD.compression = TIFFCompression_Deflate;
    tiffD.deflateLevel = 0;
    TIFFOption tiffR;
    tiffR.compression = TIFFCompression_JPEG;
    tiffR.rowsPerStrip = 12;
    JPEG2000Option j2kRatio;
    j2kRatio.lossless = 0;
    j2kRatio.compressionRatio = 0.5f;
    JPEG2000Option j2kNan;
    j2kNan.lossless = 0;
    j2kNan.compressionRatio = std::nanf("");
    JPEG2000Option j2kPsnr;
    j2kPsnr.lossless = 0;
    j2kPsnr.targetPSNR = -1;
    JPEG2000Option j2kRes;
    j2kRes.numResolutions = 0;
    JPEG2000Option j2kRes11;
    j2kRes11.numResolutions = 11;
    const std::vector<Case> cases = {
        {[&] { WritePNG(f, rgb.buffer, png); }, p + "PNG compression level 10 is outside 0..9"},
        {[&] { WritePNG(f, rgb.buffer, pngFilter); }, p + "unknown PNG filter 6"},
        {[&] { WriteJPEG(f, rgb.buffer, jpegQ); }, p + "JPEG quality 0 is outside 1..100"},
        {[&] { WriteJPEG(f, rgb.buffer, jpegQ2); }, p + "JPEG quality 101 is outside 1..100"},
        {[&] { WriteJPEG(f, rgb.buffer, jpegS); }, p + "unknown JPEG chroma subsampling 5"},
        {[&] { WriteTIFF(f, rgb.buffer, tiffC); }, p + "unknown TIFF compression 5"},
        {[&] { WriteTIFF(f, rgb.buffer, tiffP); }, p + "unknown TIFF predictor 2"},
        {[&] { WriteTIFF(f, rgb.buffer, tiffQ); }, p + "TIFF JPEG quality 0 is outside 1..100"},
        {[&] { WriteTIFF(f, rgb.buffer, tiffD); }, p + "TIFF Deflate level 0 is outside 1..9"},
        {[&] { WriteTIFF(f, rgb.buffer, tiffR); },
         p + "TIFF JPEG compression needs a multiple of 8 rows per strip, not 12"},
        {[&] { WriteJPEG2000(f, rgb.buffer, j2kRatio); },
         p + "JPEG 2000 compression ratio 0.500000 is not a number of at least 1"},
        {[&] { WriteJPEG2000(f, rgb.buffer, j2kNan); },
         p + "JPEG 2000 compression ratio nan is not a number of at least 1"},
        {[&] { WriteJPEG2000(f, rgb.buffer, j2kPsnr); },
         p + "JPEG 2000 target PSNR -1.000000 is not a number of at least 0"},
        {[&] { WriteJPEG2000(f, rgb.buffer, j2kRes); }, p + "JPEG 2000 resolution count 0 is outside 1..10"},
        {[&] { WriteJPEG2000(f, rgb.buffer, j2kRes11); }, p + "JPEG 2000 resolution count 11 is outside 1..10"},
    };
    for (size_t i = 0; i < cases.size(); ++i) {
        const Outcome o = Capture(cases[i].call);
        EXPECT_EQ(o.code, ORVANE_ERR_INVALID_ARGUMENT) << i;
        EXPECT_EQ(o.message, cases[i].message) << i;
        EXPECT_EQ(dir.List(), std::vector<std::string>()) << i;
    }
    // JPEG compression in TIFF takes 8-bit samples only.
    TIFFOption tiffJ;
    tiffJ.compression = TIFFCompression_JPEG;
    const Outcome o = Capture([&] { WriteTIFF(f, rgb16.buffer, tiffJ); });
    EXPECT_EQ(o.code, ORVANE_ERR_NOT_SUPPORTED);
    EXPECT_EQ(o.message, p + "TIFF JPEG compression takes 8-bit samples only, not a 16-bit RGB 16x16 image");
    EXPECT_EQ(dir.List(), std::vector<std::string>());
}

TEST(WriterFailures, ReservedBytesAreIgnored) {
    TempDir dir;
    TestImage img = MakeImage(24, 16, ChannelOrder::RGB, 8);
    PNGOption png;
    std::memset(png.reserved, 0xFF, sizeof png.reserved);
    std::memset(png.reserved0, 0xFF, sizeof png.reserved0);
    WritePNG(dir.File("r.png"), img.buffer, png);
    WritePNG(dir.File("d.png"), img.buffer);
    EXPECT_EQ(ReadBytes(dir.File("r.png")), ReadBytes(dir.File("d.png")));
    JPEGOption jpeg;
    std::memset(jpeg.reserved, 0xFF, sizeof jpeg.reserved);
    WriteJPEG(dir.File("r.jpg"), img.buffer, jpeg);
    WriteJPEG(dir.File("d.jpg"), img.buffer);
    EXPECT_EQ(ReadBytes(dir.File("r.jpg")), ReadBytes(dir.File("d.jpg")));
    BMPOption bmp;
    std::memset(bmp.reserved, 0xFF, sizeof bmp.reserved);
    WriteBMP(dir.File("r.bmp"), img.buffer, bmp);
    WriteBMP(dir.File("d.bmp"), img.buffer);
    EXPECT_EQ(ReadBytes(dir.File("r.bmp")), ReadBytes(dir.File("d.bmp")));
}

TEST(WriterFailures, MalformedBuffers) {
    TempDir dir;
    const std::string f = dir.File("m.png");
    const std::string p = "Cannot save image file '" + f + "': ";
    TestImage img = MakeImage(8, 4, ChannelOrder::RGB, 8);
    PixelBuffer b = img.buffer;
    b.data = nullptr;
    Outcome o = Capture([&] { WritePNG(f, b); });
    EXPECT_EQ(o.code, ORVANE_ERR_INVALID_ARGUMENT);
    EXPECT_EQ(o.message, p + "the image has no pixel data");
    b = img.buffer;
    b.width = 0;
    o = Capture([&] { WritePNG(f, b); });
    EXPECT_EQ(o.message, p + "the image is empty (8-bit RGB 0x4)");
    b = img.buffer;
    b.bitDepth = 12;
    o = Capture([&] { WritePNG(f, b); });
    EXPECT_EQ(o.code, ORVANE_ERR_INVALID_ARGUMENT);
    EXPECT_EQ(o.message, p + "bit depth 12 is neither 8 nor 16");
    b = img.buffer;
    b.stride = 23;
    o = Capture([&] { WritePNG(f, b); });
    EXPECT_EQ(o.message, p + "stride 23 is smaller than a row of 24 bytes (8-bit RGB 8x4)");
    b = img.buffer;
    b.order = static_cast<ChannelOrder>(9);
    o = Capture([&] { WritePNG(f, b); });
    EXPECT_EQ(o.message, p + "unknown channel order 9");
    b = img.buffer;
    b.height = SIZE_MAX / 8;
    b.stride = 64;
    o = Capture([&] { WritePNG(f, b); });
    EXPECT_EQ(o.code, ORVANE_ERR_INVALID_ARGUMENT);
    EXPECT_TRUE(Contains(o.message, "overflows")) << o.message;
    b = img.buffer;
    b.width = 70000;
    b.stride = 0;
    o = Capture([&] { WriteJPEG(dir.File("w.jpg"), b); });
    EXPECT_EQ(o.code, ORVANE_ERR_INVALID_ARGUMENT);
    EXPECT_TRUE(Contains(o.message, "a JPEG file holds at most 65535 pixels per side")) << o.message;
    EXPECT_EQ(Capture([&] { WriteRawBytes(f, nullptr, 3); }).code, ORVANE_ERR_INVALID_ARGUMENT);
    EXPECT_EQ(dir.List(), std::vector<std::string>());
}
