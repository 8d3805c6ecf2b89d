// orvctl grab on the virtual camera, run as a separate process: the summary,
// chunk lines, statistics, image files, exit statuses and error messages.
#include <png.h>

#include <algorithm>

#include "OrvctlRun.h"

namespace {

using namespace orvctltest;

class OrvctlGrab : public OrvctlProcess {};

// fps, MB/s, bytes (the third number) and seconds.
const char kRateLine[] = "<f> fps, <f> MB/s (<n> bytes in <f> s)";

TEST(OrvctlGrabMatcher, MatchesNumbersAndLiteralText) {
    std::vector<std::string> numbers;
    EXPECT_TRUE(Matches("30.0 fps, 36.88 MB/s (24576000 bytes in 0.639 s)", kRateLine, &numbers));
    EXPECT_EQ(numbers, (std::vector<std::string>{"30.0", "36.88", "24576000", "0.639"}));
    EXPECT_FALSE(Matches("30 fps, 36.88 MB/s (24576000 bytes in 0.639 s)", kRateLine));
    EXPECT_FALSE(Matches("30.0 fps, 36.88 MB/s (24576000 bytes in 0.639 s) ", kRateLine));
    EXPECT_FALSE(Matches("30.0 fps, 36.88 MB/s (bytes in 0.639 s)", kRateLine));
    EXPECT_FALSE(Matches("x=", "x=<n>"));
    EXPECT_TRUE(Matches("x=12", "x=<n>"));
}

TEST_F(OrvctlGrab, SummaryCountsFramesAndIds) {
    const RunResult run = Orvctl({"grab", "VC0001", "-n", "5"});
    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(run.err, ""); // stderr is no terminal: no progress bar
    ASSERT_EQ(run.out.size(), 3u);
    EXPECT_EQ(run.out[0], "5 frames, 0 incomplete, 0 lost, frame ids 1 to 5");
    std::vector<std::string> numbers;
    ASSERT_TRUE(Matches(run.out[1], kRateLine, &numbers)) << run.out[1];
    EXPECT_EQ(numbers[2], std::to_string(5 * 1280 * 960)); // Mono8 1280 x 960, no chunks
    EXPECT_EQ(run.out[2], "stream counters: 5 delivered, 0 incomplete, 0 lost, 0 dropped");
}

TEST_F(OrvctlGrab, DefaultIsTenFrames) {
    const RunResult run = Orvctl({"grab", "VC0001"});
    ASSERT_EQ(run.status, 0) << run.err;
    ASSERT_FALSE(run.out.empty());
    EXPECT_EQ(run.out[0], "10 frames, 0 incomplete, 0 lost, frame ids 1 to 10");
}

TEST_F(OrvctlGrab, OneFrameHasNoRate) {
    const RunResult run = Orvctl({"grab", "VC0001", "-n", "1"});
    ASSERT_EQ(run.status, 0) << run.err;
    ASSERT_EQ(run.out.size(), 3u);
    EXPECT_EQ(run.out[0], "1 frame, 0 incomplete, 0 lost, frame ids 1 to 1");
    EXPECT_EQ(run.out[1], "rate: too few frames to measure");
}

TEST_F(OrvctlGrab, SoftwareTriggerWithChunksPrintsEachFramesChunks) {
    const RunResult run = Orvctl({"grab", "VC0001", "-n", "3", "--trigger", "software", "--chunks"});
    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(run.err, "");
    ASSERT_EQ(run.out.size(), 7u);
    // ChunkImage is always sent and cannot be switched: it is not listed.
    EXPECT_EQ(run.out[0],
              "chunks enabled: CRC FrameID Timestamp Width Height OffsetX OffsetY PixelFormat LinePitch ExposureTime "
              "Gain BlackLevel PixelDynamicRangeMin PixelDynamicRangeMax LineStatusAll ExposureEndLineStatusAll "
              "CounterValue TimerValue SequencerSetActive TimestampLatchValue");
    long long previous = -1;
    for (int k = 1; k <= 3; ++k) {
        const std::string line = "frame " + std::to_string(k) + ": chunks ChunkFrameID=" + std::to_string(k) +
                                 " ChunkTimestamp=<n> ChunkWidth=1280 ChunkHeight=960 ChunkOffsetX=0 "
                                 "ChunkOffsetY=0 ChunkExposureTime=10000 ChunkGain=0";
        std::vector<std::string> numbers;
        ASSERT_TRUE(Matches(run.out[k], line, &numbers)) << run.out[k];
        const long long timestamp = std::stoll(numbers[0]);
        EXPECT_GT(timestamp, previous);
        previous = timestamp;
    }
    EXPECT_EQ(run.out[4], "3 frames, 0 incomplete, 0 lost, frame ids 1 to 3");
    std::vector<std::string> numbers;
    ASSERT_TRUE(Matches(run.out[5], kRateLine, &numbers)) << run.out[5];
    EXPECT_GT(std::stoll(numbers[2]), 3LL * 1280 * 960); // the chunks add to the payload
    EXPECT_EQ(run.out[6], "stream counters: 3 delivered, 0 incomplete, 0 lost, 0 dropped");
}

TEST_F(OrvctlGrab, ChunksTheFramesDoNotCarryAreDashes) {
    // --set runs after --chunks: the frame id and gain chunks switched off again.
    RunResult run = Orvctl({"grab", "VC0001", "-n", "1", "--chunks", "--set", "ChunkSelector=FrameID", "--set",
                            "ChunkEnable=false", "--set", "ChunkSelector=Gain", "--set", "ChunkEnable=false"});
    ASSERT_EQ(run.status, 0) << run.err;
    ASSERT_GE(run.out.size(), 2u);
    EXPECT_TRUE(Matches(run.out[1],
                        "frame 1: chunks ChunkFrameID=- ChunkTimestamp=<n> ChunkWidth=1280 "
                        "ChunkHeight=960 ChunkOffsetX=0 ChunkOffsetY=0 ChunkExposureTime=10000 ChunkGain=-"))
        << run.out[1];
    // Chunk mode off: no chunk at all.
    run = Orvctl({"grab", "VC0001", "-n", "1", "--chunks", "--set", "ChunkModeActive=false"});
    ASSERT_EQ(run.status, 0) << run.err;
    ASSERT_GE(run.out.size(), 2u);
    EXPECT_EQ(run.out[1],
              "frame 1: chunks ChunkFrameID=- ChunkTimestamp=- ChunkWidth=- ChunkHeight=- ChunkOffsetX=- "
              "ChunkOffsetY=- ChunkExposureTime=- ChunkGain=-");
}

// The pixel at (x, y) of an 8-bit RGB PNG file.
struct Png {
    unsigned width = 0, height = 0;
    std::vector<unsigned char> rgb;
    std::string Pixel(unsigned x, unsigned y) const {
        const unsigned char* p = &rgb[(size_t(y) * width + x) * 3];
        return std::to_string(p[0]) + "," + std::to_string(p[1]) + "," + std::to_string(p[2]);
    }
};

bool ReadPng(const fs::path& path, Png& out) {
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    if (!png_image_begin_read_from_file(&image, path.c_str())) return false;
    image.format = PNG_FORMAT_RGB;
    out.width = image.width;
    out.height = image.height;
    out.rgb.assign(PNG_IMAGE_SIZE(image), 0);
    return png_image_finish_read(&image, nullptr, out.rgb.data(), 0, nullptr) != 0;
}

TEST_F(OrvctlGrab, SaveWritesConvertedColourPngs) {
    const fs::path images = dir / "images"; // created by orvctl
    const RunResult run =
        Orvctl({"grab", "VC0001", "-n", "3", "--pixel-format", "BayerRG8", "--set", "TestPattern=ColorBar", "--convert",
                "BGR8", "--algorithm", "bilinear", "--save", images.string(), "--format", "png"});
    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(run.err, "");
    ASSERT_EQ(run.out.size(), 6u);
    // Colour bars, 160 pixels each: white, yellow, cyan, green, magenta, red, blue, black.
    const char* const kBars[8] = {"255,255,255", "255,255,0", "0,255,255", "0,255,0",
                                  "255,0,255",   "255,0,0",   "0,0,255",   "0,0,0"};
    for (int k = 1; k <= 3; ++k) {
        const fs::path file = images / ("VC0001-00000" + std::to_string(k) + ".png");
        EXPECT_EQ(run.out[k - 1], "frame " + std::to_string(k) + ": saved " + file.string());
        ASSERT_TRUE(fs::is_regular_file(file)) << file;
        EXPECT_EQ(ReadFile(file).substr(0, 8), std::string("\x89PNG\r\n\x1a\n", 8));
        Png png;
        ASSERT_TRUE(ReadPng(file, png)) << file;
        ASSERT_EQ(png.width, 1280u);
        ASSERT_EQ(png.height, 960u);
        for (unsigned bar = 0; bar < 8; ++bar) EXPECT_EQ(png.Pixel(bar * 160 + 80, 480), kBars[bar]) << bar;
    }
    EXPECT_EQ(run.out[3], "3 frames, 0 incomplete, 0 lost, frame ids 1 to 3");
    EXPECT_EQ(std::distance(fs::directory_iterator(images), fs::directory_iterator()), 3);
}

TEST_F(OrvctlGrab, SaveRawFramesInTheChosenFormat) {
    const RunResult run = Orvctl({"grab", "VC0001", "-n", "2", "--save", dir.string(), "--format", "pgm"});
    ASSERT_EQ(run.status, 0) << run.err;
    for (int k = 1; k <= 2; ++k) {
        const fs::path file = dir / ("VC0001-00000" + std::to_string(k) + ".pgm");
        ASSERT_TRUE(fs::is_regular_file(file)) << file;
        const std::string bytes = ReadFile(file);
        EXPECT_EQ(bytes.substr(0, 2), "P5");
        EXPECT_EQ(bytes.size() % (1280 * 960), bytes.size() - 1280 * 960) << "header plus 1280 x 960 bytes";
    }
}

TEST_F(OrvctlGrab, StatisticsPerChannel) {
    // RGB8 colour bars: each channel is 255 in four of the eight bars; the
    // frame id is burned into the first 64 pixels (frame 1: pixel 0 white,
    // 63 pixels black), so each mean is (614400 - 63) * 255 / 1228800.
    RunResult run =
        Orvctl({"grab", "VC0001", "-n", "2", "--pixel-format", "RGB8", "--set", "TestPattern=ColorBar", "--stats"});
    ASSERT_EQ(run.status, 0) << run.err;
    ASSERT_GE(run.out.size(), 1u);
    EXPECT_EQ(run.out[0],
              "frame 1: stats RGB8 red min 0 max 255 mean 127.49, green min 0 max 255 mean 127.49, blue min 0 max "
              "255 mean 127.49");
    run = Orvctl({"grab", "VC0001", "-n", "1", "--set", "TestPattern=White", "--stats"});
    ASSERT_EQ(run.status, 0) << run.err;
    ASSERT_GE(run.out.size(), 1u);
    EXPECT_EQ(run.out[0], "frame 1: stats Mono8 grey min 255 max 255 mean 255.00");
    // After a conversion the statistics are the converted image's.
    run = Orvctl({"grab", "VC0001", "-n", "1", "--set", "TestPattern=Black", "--convert", "BGR8", "--stats"});
    ASSERT_EQ(run.status, 0) << run.err;
    ASSERT_GE(run.out.size(), 1u);
    EXPECT_EQ(run.out[0],
              "frame 1: stats BGR8 red min 0 max 0 mean 0.00, green min 0 max 0 mean 0.00, blue min 0 max 0 mean 0.00");
}

// Lines of a run with --events: frame lines, event lines, the rest.
struct EventRun {
    std::vector<std::string> frames, events, rest;
    explicit EventRun(const std::vector<std::string>& out) {
        for (const std::string& line : out) {
            if (line.rfind("frame ", 0) == 0)
                frames.push_back(line);
            else if (line.rfind("event ", 0) == 0)
                events.push_back(line);
            else
                rest.push_back(line);
        }
    }
    // The timestamp of frame k (1-based) from its frame line.
    long long FrameTime(int k) const {
        std::vector<std::string> numbers;
        EXPECT_TRUE(Matches(frames.at(k - 1), "frame " + std::to_string(k) + ": timestamp <n>", &numbers))
            << frames.at(k - 1);
        return numbers.empty() ? -1 : std::stoll(numbers[0]);
    }
};

TEST_F(OrvctlGrab, EventsArePrintedBesideTheFrames) {
    const RunResult run = Orvctl({"grab", "VC0001", "-n", "3", "--events"});
    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(run.err, "");
    const EventRun lines(run.out);
    ASSERT_EQ(lines.frames.size(), 3u);
    ASSERT_EQ(lines.events.size(), 5u);
    // The acquisition's start comes first, its end last, before the summary.
    EXPECT_TRUE(Matches(run.out.front(), "event AcquisitionStart: id 0x9002, frame 1, timestamp <n>")) << run.out[0];
    ASSERT_EQ(run.out.size(), 12u);
    EXPECT_TRUE(Matches(run.out[7], "event AcquisitionEnd: id 0x9003, frame 3, timestamp <n>")) << run.out[7];
    // One ExposureEnd per frame: its frame id, and the frame's timestamp plus
    // the exposure (10 ms).
    for (int k = 1; k <= 3; ++k) {
        const std::string expected = "event ExposureEnd: id 0x9021, frame " + std::to_string(k) + ", timestamp " +
                                     std::to_string(lines.FrameTime(k) + 10000000);
        EXPECT_EQ(std::count(lines.events.begin(), lines.events.end(), expected), 1) << expected;
    }
    EXPECT_EQ(lines.rest, (std::vector<std::string>{run.out[8], run.out[9], run.out[10], "5 device events"}));
    EXPECT_EQ(run.out[8], "3 frames, 0 incomplete, 0 lost, frame ids 1 to 3");
    EXPECT_EQ(run.out[10], "stream counters: 3 delivered, 0 incomplete, 0 lost, 0 dropped");
}

TEST_F(OrvctlGrab, EventsChosenByName) {
    RunResult run = Orvctl({"grab", "VC0001", "-n", "2", "--events", "FrameStart,ExposureStart"});
    ASSERT_EQ(run.status, 0) << run.err;
    EventRun lines(run.out);
    ASSERT_EQ(lines.frames.size(), 2u);
    ASSERT_EQ(lines.events.size(), 4u);
    for (int k = 1; k <= 2; ++k)
        for (const char* e : {"FrameStart: id 0x9011", "ExposureStart: id 0x9020"}) {
            const std::string expected = std::string("event ") + e + ", frame " + std::to_string(k) + ", timestamp " +
                                         std::to_string(lines.FrameTime(k));
            EXPECT_EQ(std::count(lines.events.begin(), lines.events.end(), expected), 1) << expected;
        }
    EXPECT_EQ(run.out.back(), "4 device events");

    // Joined with '='; an event without a frame id shows a dash.
    run = Orvctl({"grab", "VC0001", "-n", "1", "--events=Test", "--set", "TestEventGenerate=1"});
    ASSERT_EQ(run.status, 0) << run.err;
    lines = EventRun(run.out);
    ASSERT_EQ(lines.events.size(), 1u);
    EXPECT_TRUE(Matches(lines.events[0], "event Test: id 0x9000, frame -, timestamp <n>")) << lines.events[0];
    EXPECT_EQ(run.out.back(), "1 device event");
}

TEST_F(OrvctlGrab, UnknownEventsAreRefused) {
    const RunResult run = Orvctl({"grab", "VC0001", "--events", "ExposureEnd,NoSuchEvent"});
    EXPECT_EQ(run.status, 1);
    EXPECT_TRUE(run.out.empty());
    const std::vector<std::string> err = Lines(run.err);
    ASSERT_EQ(err.size(), 2u);
    EXPECT_EQ(err[0], "orvctl: the camera has no event 'NoSuchEvent'");
    EXPECT_EQ(err[1].rfind("orvctl: EventSelector accepts: AcquisitionTrigger AcquisitionStart AcquisitionEnd ", 0), 0u)
        << err[1];
}

TEST_F(OrvctlGrab, TimeoutFailsAfterTheSummary) {
    // Software trigger set up by hand but never executed: no frame comes.
    const RunResult run =
        Orvctl({"grab", "VC0001", "-n", "2", "--timeout", "100", "--set", "TriggerSelector=FrameStart", "--set",
                "TriggerSource=Software", "--set", "TriggerMode=On"});
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.err,
              "orvctl: waiting for frame 1 of 2 failed: camera Orvane-VirtualCamera-VC0001: no image arrived within "
              "100 ms (timeout, -1012)\n");
    ASSERT_EQ(run.out.size(), 3u);
    EXPECT_EQ(run.out[0], "0 frames, 0 incomplete, 0 lost, no frame ids");
    EXPECT_EQ(run.out[1], "rate: too few frames to measure");
    EXPECT_EQ(run.out[2], "stream counters: 0 delivered, 0 incomplete, 0 lost, 0 dropped");
}

TEST_F(OrvctlGrab, RefusedSettingsAreExplained) {
    RunResult run = Orvctl({"grab", "VC0001", "--pixel-format", "Foo8"});
    EXPECT_EQ(run.status, 1);
    EXPECT_TRUE(run.out.empty());
    const std::vector<std::string> err = Lines(run.err);
    ASSERT_EQ(err.size(), 2u);
    EXPECT_EQ(err[0], "orvctl: PixelFormat has no constant for 'Foo8' (`orvctl enum PixelFormat` lists them)");
    EXPECT_EQ(err[1].rfind("orvctl: PixelFormat accepts: Mono8 Mono10 ", 0), 0u) << err[1];

    run = Orvctl({"grab", "VC0001", "--set", "Width=5000"});
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.err,
              "orvctl: setting Width to 5000 failed: value outside the feature's range or increment (-2004)\n"
              "orvctl: Width accepts 16 to 2048 in steps of 8\n");

    run = Orvctl({"grab", "VC0001", "--set", "NoSuchFeature=1"});
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.err, "orvctl: the camera has no feature 'NoSuchFeature'\n");

    run = Orvctl({"grab", "VC0009"});
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.err, "orvctl: no camera has the serial number 'VC0009' (see `orvctl list`)\n");
}

TEST_F(OrvctlGrab, BadUsageExitsWithTwo) {
    const std::string usage =
        "usage: orvctl grab SERIAL [-n N] [--timeout MS] [--pixel-format F] [--exposure US] [--gain DB]\n"
        "                   [--set FEATURE=VALUE]... [--trigger software] [--chunks] [--events [NAME,...]]\n"
        "                   [--convert FORMAT [--algorithm NAME]] [--save DIR [--format FMT]] [--stats]\n";
    const struct {
        std::vector<std::string> args;
        std::string err;
    } cases[] = {
        {{"grab"}, usage},
        {{"grab", "VC0001", "-n", "0"}, "orvctl grab: -n takes a number of frames from 1 to 1000000000\n"},
        {{"grab", "VC0001", "-n", "-3"}, "orvctl grab: -n takes a number of frames from 1 to 1000000000\n"},
        {{"grab", "VC0001", "-n", "5x"}, "orvctl grab: -n takes a number of frames from 1 to 1000000000\n"},
        {{"grab", "VC0001", "--timeout", "0"}, "orvctl grab: --timeout takes milliseconds from 1 to 86400000\n"},
        {{"grab", "VC0001", "--trigger", "hardware"}, "orvctl grab: --trigger takes 'software'\n"},
        {{"grab", "VC0001", "--exposure", "0"},
         "orvctl grab: --exposure takes a time in microseconds, greater than 0\n"},
        {{"grab", "VC0001", "--exposure", "5ms"},
         "orvctl grab: --exposure takes a time in microseconds, greater than 0\n"},
        {{"grab", "VC0001", "--gain", "inf"}, "orvctl grab: --gain takes a gain in dB\n"},
        {{"grab", "VC0001", "--gain"}, "orvctl grab: --gain needs a value\n" + usage},
        {{"grab", "VC0001", "--set", "Width"}, "orvctl grab: --set takes FEATURE=VALUE\n"},
        {{"grab", "VC0001", "--algorithm", "bilinear"}, "orvctl grab: --algorithm applies to --convert\n"},
        {{"grab", "VC0001", "--format", "png"}, "orvctl grab: --format applies to --save\n"},
        {{"grab", "VC0001", "--save"}, "orvctl grab: --save needs a value\n" + usage},
        {{"grab", "VC0001", "--frames", "3"}, "orvctl grab: unknown option '--frames'\n" + usage},
        {{"grab", "VC0001", "--events="}, "orvctl grab: --events takes event names separated by commas\n"},
        {{"grab", "VC0001", "VC0002"}, "orvctl grab: unexpected argument 'VC0002'\n" + usage},
        {{"grab", "VC0001", "--format", "gif", "--save", "x"},
         "orvctl: unknown file format 'gif' (png, jpeg, tiff, bmp, ppm, pgm, jp2, raw)\n"},
    };
    for (const auto& c : cases) {
        const RunResult run = Orvctl(c.args);
        EXPECT_EQ(run.status, 2) << c.args.back();
        EXPECT_EQ(run.err, c.err) << c.args.back();
        EXPECT_TRUE(run.out.empty()) << c.args.back();
    }
}

TEST_F(OrvctlGrab, HelpListsGrab) {
    const RunResult run = Orvctl({"--help"});
    ASSERT_EQ(run.status, 0);
    EXPECT_NE(std::find(run.out.begin(), run.out.end(),
                        "  grab       stream frames from a camera: summary, chunk data, statistics, image files"),
              run.out.end());
}

} // namespace
