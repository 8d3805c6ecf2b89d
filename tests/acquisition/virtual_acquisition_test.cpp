// Streaming from the SDK's virtual cameras through the public API: formats and
// patterns, frame IDs and timestamps, acquisition modes, triggers, timeouts,
// buffer handling modes, image lifetimes, chunk data and stream counters.
#include <unistd.h>

#include <cmath>
#include <cstdio>
#include <cstring>
#include <vector>

#include "AcquisitionFixture.h"
#include "Orvane/ChunkData.h"
#include "Orvane/ImageList.h"
#include "PatternReference.h"

using namespace acqtest;

namespace {

using Clock = std::chrono::steady_clock;

double MsSince(Clock::time_point t) { return std::chrono::duration<double, std::milli>(Clock::now() - t).count(); }

std::vector<uint8_t> Bytes(const ImagePtr& image) {
    const uint8_t* p = static_cast<const uint8_t*>(image->GetData());
    return std::vector<uint8_t>(p, p + image->GetSize());
}

TEST_F(VirtualStream, CallsOutsideAnAcquisitionFailWithTheirCodes) {
    EXPECT_FALSE(camera->IsStreaming());
    EXPECT_EQ(CodeOf([&] { camera->GetNextImage(10); }), ORVANE_ERR_NOT_STREAMING);
    EXPECT_EQ(CodeOf([&] { camera->GetNextImageSync(10); }), ORVANE_ERR_NOT_STREAMING);
    EXPECT_EQ(CodeOf([&] { camera->EndAcquisition(); }), ORVANE_ERR_NOT_STREAMING);
    camera->BeginAcquisition();
    EXPECT_TRUE(camera->IsStreaming());
    EXPECT_EQ(CodeOf([&] { camera->BeginAcquisition(); }), ORVANE_ERR_RESOURCE_IN_USE);
    EXPECT_EQ(CodeOf([&] { camera->GetNextImage(10, 1); }), ORVANE_ERR_OUT_OF_RANGE);
    camera->EndAcquisition();
    EXPECT_FALSE(camera->IsStreaming());
    camera->DeInit();
    EXPECT_EQ(CodeOf([&] { camera->BeginAcquisition(); }), ORVANE_ERR_CAMERA_NOT_INITIALIZED);
    EXPECT_EQ(CodeOf([&] { camera->GetNextImage(10); }), ORVANE_ERR_NOT_STREAMING);
}

TEST_F(VirtualStream, EveryPixelFormatStreamsItsDocumentedPattern) {
    NodeList_t entries;
    CEnumerationPtr(Map().GetNode("PixelFormat"))->GetEntries(entries);
    ASSERT_EQ(entries.size(), reference::Formats().size());
    SetInt("OffsetX", 16);
    SetInt("OffsetY", 2);
    SetInt("Width", 48);
    SetInt("Height", 16);
    for (INode* node : entries) {
        IEnumEntry* entry = dynamic_cast<IEnumEntry*>(node);
        ASSERT_NE(entry, nullptr);
        const std::string name = entry->GetSymbolic().c_str();
        const reference::Format* fmt = reference::FindFormat(name);
        ASSERT_NE(fmt, nullptr) << name;
        SetEnum("PixelFormat", name.c_str());
        for (const char* pattern : {"Off", "ColorBar"}) {
            SetEnum("TestPattern", pattern);
            const int64_t patternValue = EnumValue("TestPattern");
            camera->BeginAcquisition();
            for (int i = 0; i < 2; ++i) {
                ImagePtr image = camera->GetNextImage(5000);
                EXPECT_EQ(image->GetWidth(), 48u) << name;
                EXPECT_EQ(image->GetHeight(), 16u) << name;
                EXPECT_EQ(image->GetOffsetX(), 16u) << name;
                EXPECT_EQ(image->GetOffsetY(), 2u) << name;
                EXPECT_STREQ(image->GetPixelFormatName(), name.c_str());
                EXPECT_EQ(image->GetTLPixelFormat(), fmt->pfnc) << name;
                EXPECT_EQ(image->GetBitsPerPixel(), fmt->storage) << name;
                EXPECT_EQ(image->GetStride(), 48u * fmt->storage / 8) << name;
                EXPECT_EQ(image->GetSize(), 48u * 16 * fmt->storage / 8) << name;
                EXPECT_EQ(image->GetBufferSize(), image->GetSize()) << name;
                EXPECT_EQ(image->GetValidPayloadSize(), image->GetSize()) << name;
                EXPECT_EQ(int64_t(image->GetSize()), Int("PayloadSize")) << name;
                EXPECT_EQ(image->GetStatus(), IMAGE_STATUS_OK);
                EXPECT_FALSE(image->IsIncomplete());
                EXPECT_EQ(image->GetPayloadType(), 0x0001u);
                EXPECT_EQ(image->GetTLPayloadType(), PayloadType_Image);
                EXPECT_EQ(image->GetFrameID(), uint64_t(i + 1));
                EXPECT_EQ(Bytes(image), reference::Image(*fmt, patternValue, 48, 16, 16, 2, image->GetFrameID()))
                    << name << " " << pattern << " frame " << image->GetFrameID();
                image->Release();
            }
            camera->EndAcquisition();
        }
    }
}

TEST_F(VirtualStream, LargeFramesOfEveryPatternMatchTheFormulas) {
    SetInt("Width", 2048);
    SetInt("Height", 1536);
    SetEnum("PixelFormat", "Mono8");
    const reference::Format* fmt = reference::FindFormat("Mono8");
    for (const auto& pattern : reference::Patterns()) {
        SetEnum("TestPattern", pattern.first);
        camera->BeginAcquisition();
        ImagePtr image = camera->GetNextImage(5000);
        EXPECT_EQ(Bytes(image), reference::Image(*fmt, pattern.second, 2048, 1536, 0, 0, image->GetFrameID()))
            << pattern.first;
        image->Release();
        camera->EndAcquisition();
    }
}

TEST_F(VirtualStream, FrameIdsIncreaseByOneAndTimestampsComeFromTheCameraClock) {
    const int64_t before = Int("Timestamp");
    camera->BeginAcquisition();
    uint64_t lastTs = 0;
    uint64_t firstTs = 0;
    const int n = 60;
    for (int i = 1; i <= n; ++i) {
        ImagePtr image = camera->GetNextImage(5000);
        EXPECT_EQ(image->GetFrameID(), uint64_t(i));
        EXPECT_EQ(image->GetID(), uint64_t(i));
        EXPECT_GT(image->GetTimeStamp(), lastTs);
        if (i == 1) firstTs = image->GetTimeStamp();
        lastTs = image->GetTimeStamp();
        image->Release();
    }
    const int64_t after = Int("Timestamp");
    camera->EndAcquisition();
    EXPECT_GT(int64_t(firstTs), before);
    EXPECT_LT(int64_t(lastTs), after);
    // 1000 frames a second at most: the camera never runs ahead of its rate.
    EXPECT_GE(double(lastTs - firstTs) / (n - 1), 0.95e6);
}

TEST_F(VirtualStream, FrameRateFollowsAcquisitionFrameRateOrTheExposureTime) {
    SetFloat("AcquisitionFrameRate", 200.0);
    camera->BeginAcquisition();
    uint64_t first = 0, last = 0;
    for (int i = 0; i < 6; ++i) {
        ImagePtr image = camera->GetNextImage(5000);
        if (i == 0) first = image->GetTimeStamp();
        last = image->GetTimeStamp();
    }
    camera->EndAcquisition();
    EXPECT_GE(double(last - first) / 5, 0.95 * 5e6);

    // Without a frame rate, the exposure paces the frames (here 3 ms), even
    // though AcquisitionFrameRate said 200 Hz.
    SetBool("AcquisitionFrameRateEnable", false);
    SetFloat("ExposureTime", 3000.0);
    EXPECT_EQ(Map().GetNode("AcquisitionFrameRate")->GetAccessMode(), NA);
    camera->BeginAcquisition();
    for (int i = 0; i < 11; ++i) {
        ImagePtr image = camera->GetNextImage(5000);
        if (i == 0) first = image->GetTimeStamp();
        last = image->GetTimeStamp();
    }
    camera->EndAcquisition();
    const double period = double(last - first) / 10;
    EXPECT_GE(period, 0.95 * 3e6);
    EXPECT_LT(period, 4.9e6); // not held back by the 5 ms of the disabled frame rate
    SetBool("AcquisitionFrameRateEnable", true);
    EXPECT_NEAR(CFloatPtr(Map().GetNode("AcquisitionFrameRate"))->GetValue(), 200.0, 1e-9);
}

TEST_F(VirtualStream, SingleFrameGivesOneFrameThenTimesOut) {
    SetEnum("AcquisitionMode", "SingleFrame");
    camera->BeginAcquisition();
    ImagePtr image = camera->GetNextImage(5000);
    EXPECT_EQ(image->GetFrameID(), 1u);
    image->Release();
    EXPECT_EQ(CodeOf([&] { camera->GetNextImage(300); }), ORVANE_ERR_TIMEOUT);
    EXPECT_EQ(StreamInt("StreamReceivedFrameCount"), 1);
    EXPECT_EQ(StreamInt("StreamDeliveredFrameCount"), 1);
    camera->EndAcquisition();
}

TEST_F(VirtualStream, MultiFrameGivesAcquisitionFrameCountFrames) {
    SetEnum("AcquisitionMode", "MultiFrame");
    SetInt("AcquisitionFrameCount", 7);
    camera->BeginAcquisition();
    for (uint64_t i = 1; i <= 7; ++i) {
        ImagePtr image = camera->GetNextImage(5000);
        EXPECT_EQ(image->GetFrameID(), i);
    }
    EXPECT_EQ(CodeOf([&] { camera->GetNextImage(300); }), ORVANE_ERR_TIMEOUT);
    EXPECT_EQ(StreamInt("StreamReceivedFrameCount"), 7);
    camera->EndAcquisition();
}

TEST_F(VirtualStream, SoftwareTriggerGivesExactlyOneFramePerTrigger) {
    SetEnum("TriggerSelector", "FrameStart");
    SetEnum("TriggerMode", "On");
    SetEnum("TriggerSource", "Software");
    Execute("TriggerSoftware"); // before streaming: nothing
    EXPECT_TRUE(CCommandPtr(Map().GetNode("TriggerSoftware"))->IsDone());
    camera->BeginAcquisition();
    EXPECT_EQ(CodeOf([&] { camera->GetNextImage(300); }), ORVANE_ERR_TIMEOUT);
    for (uint64_t round = 1; round <= 3; ++round) {
        Execute("TriggerSoftware");
        EXPECT_TRUE(CCommandPtr(Map().GetNode("TriggerSoftware"))->IsDone());
        ImagePtr image = camera->GetNextImage(5000);
        EXPECT_EQ(image->GetFrameID(), round);
        image->Release();
        EXPECT_EQ(CodeOf([&] { camera->GetNextImage(200); }), ORVANE_ERR_TIMEOUT);
    }
    // Triggers in a burst: one frame each, none more.
    for (int i = 0; i < 3; ++i) Execute("TriggerSoftware");
    for (uint64_t id = 4; id <= 6; ++id) EXPECT_EQ(camera->GetNextImage(5000)->GetFrameID(), id);
    EXPECT_EQ(CodeOf([&] { camera->GetNextImage(300); }), ORVANE_ERR_TIMEOUT);
    camera->EndAcquisition();
    EXPECT_EQ(StreamInt("StreamReceivedFrameCount"), 6);
}

TEST_F(VirtualStream, AcquisitionStartTriggerAndFrameBursts) {
    SetEnum("AcquisitionMode", "Continuous");
    SetEnum("TriggerSelector", "FrameBurstStart");
    SetEnum("TriggerMode", "On");
    SetEnum("TriggerSource", "Software");
    SetInt("AcquisitionBurstFrameCount", 3);
    camera->BeginAcquisition();
    EXPECT_EQ(CodeOf([&] { camera->GetNextImage(200); }), ORVANE_ERR_TIMEOUT);
    Execute("TriggerSoftware");
    for (uint64_t id = 1; id <= 3; ++id) EXPECT_EQ(camera->GetNextImage(5000)->GetFrameID(), id);
    EXPECT_EQ(CodeOf([&] { camera->GetNextImage(200); }), ORVANE_ERR_TIMEOUT);
    camera->EndAcquisition();
    SetEnum("TriggerMode", "Off");

    SetEnum("TriggerSelector", "AcquisitionStart");
    SetEnum("TriggerMode", "On");
    SetEnum("TriggerSource", "Software");
    camera->BeginAcquisition();
    EXPECT_EQ(CodeOf([&] { camera->GetNextImage(200); }), ORVANE_ERR_TIMEOUT);
    Execute("TriggerSoftware");
    for (uint64_t id = 1; id <= 5; ++id) EXPECT_EQ(camera->GetNextImage(5000)->GetFrameID(), id);
    camera->EndAcquisition();
}

TEST_F(VirtualStream, TimeoutsReturnWithinTheirTime) {
    SetEnum("TriggerMode", "On"); // FrameStart, Software: no frames without triggers
    camera->BeginAcquisition();
    for (uint64_t timeout : {0, 20, 100, 400}) {
        const Clock::time_point start = Clock::now();
        EXPECT_EQ(CodeOf([&] { camera->GetNextImage(timeout); }), ORVANE_ERR_TIMEOUT);
        EXPECT_LT(MsSince(start), double(timeout) + 250.0) << timeout;
    }
    EXPECT_NE(MessageOf([&] { camera->GetNextImage(5); }).find("within 5 ms"), std::string::npos);
    const Clock::time_point start = Clock::now();
    EXPECT_EQ(CodeOf([&] { camera->GetNextImageSync(50); }), ORVANE_ERR_TIMEOUT);
    EXPECT_LT(MsSince(start), 300.0);
    camera->EndAcquisition();
}

TEST_F(VirtualStream, GetNextImageSyncGivesOneImageOfTheStream) {
    camera->BeginAcquisition();
    ImageList list = camera->GetNextImageSync(5000);
    ASSERT_EQ(list.GetSize(), 1u);
    EXPECT_EQ(list[0]->GetFrameID(), 1u);
    list.Release();
    EXPECT_EQ(camera->GetNextImage(5000)->GetFrameID(), 2u);
    camera->EndAcquisition();
}

TEST_F(VirtualStream, AcquisitionStopAbortAndStartThroughTheNodeMap) {
    camera->BeginAcquisition();
    EXPECT_EQ(camera->GetNextImage(5000)->GetFrameID(), 1u);
    Execute("AcquisitionStop");
    EXPECT_TRUE(CCommandPtr(Map().GetNode("AcquisitionStop"))->IsDone());
    // Frames made before the stop may still be queued; then none comes.
    int code = 0;
    for (int i = 0; i < 10 && code == 0; ++i) code = CodeOf([&] { camera->GetNextImage(200); });
    EXPECT_EQ(code, ORVANE_ERR_TIMEOUT);
    uint32_t reg = 1;
    camera->ReadPort(0x124, &reg, 4);
    EXPECT_EQ(reg, 0u); // AcquisitionStart register cleared
    Execute("AcquisitionStart");
    EXPECT_TRUE(CCommandPtr(Map().GetNode("AcquisitionStart"))->IsDone());
    EXPECT_EQ(camera->GetNextImage(5000)->GetFrameID(), 1u); // counting again
    Execute("AcquisitionAbort");
    code = 0;
    for (int i = 0; i < 10 && code == 0; ++i) code = CodeOf([&] { camera->GetNextImage(200); });
    EXPECT_EQ(code, ORVANE_ERR_TIMEOUT);
    camera->EndAcquisition();
}

// Slow consumer: the camera makes 30 frames (MultiFrame) into 4 buffers while
// nobody takes any; what the caller then gets is the handling mode's choice.
class HandlingModes : public VirtualStream {
protected:
    std::vector<uint64_t> Run(const char* mode) {
        SetStreamEnum("StreamBufferHandlingMode", mode);
        SetEnum("AcquisitionMode", "MultiFrame");
        SetInt("AcquisitionFrameCount", 30);
        camera->BeginAcquisition();
        std::vector<uint64_t> ids;
        if (std::string(mode) != "OldestFirst") {
            EXPECT_TRUE(WaitForCounter("StreamReceivedFrameCount", 30));
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
        } else {
            std::this_thread::sleep_for(std::chrono::milliseconds(100));
        }
        for (;;) {
            ImagePtr image;
            if (CodeOf([&] { image = camera->GetNextImage(300); }) != 0) break;
            ids.push_back(image->GetFrameID());
            image->Release();
        }
        return ids;
    }
};

TEST_F(HandlingModes, OldestFirstDeliversEveryFrameInOrder) {
    std::vector<uint64_t> ids = Run("OldestFirst");
    ASSERT_EQ(ids.size(), 30u);
    for (size_t i = 0; i < ids.size(); ++i) EXPECT_EQ(ids[i], i + 1);
    EXPECT_EQ(StreamInt("StreamDroppedFrameCount"), 0);
    EXPECT_EQ(StreamInt("StreamLostFrameCount"), 0);
    EXPECT_EQ(StreamInt("StreamDeliveredFrameCount"), 30);
}

TEST_F(HandlingModes, OldestFirstOverwriteKeepsTheNewestFramesOldestFirst) {
    EXPECT_EQ(Run("OldestFirstOverwrite"), (std::vector<uint64_t>{28, 29, 30}));
    EXPECT_EQ(StreamInt("StreamDroppedFrameCount"), 27);
    EXPECT_EQ(StreamInt("StreamReceivedFrameCount"), 30);
}

TEST_F(HandlingModes, NewestOnlyKeepsOneFrame) {
    EXPECT_EQ(Run("NewestOnly"), (std::vector<uint64_t>{30}));
    EXPECT_EQ(StreamInt("StreamDroppedFrameCount"), 29);
}

TEST_F(HandlingModes, NewestFirstGivesTheNewestFrameFirst) {
    EXPECT_EQ(Run("NewestFirst"), (std::vector<uint64_t>{30, 29, 28}));
    EXPECT_EQ(StreamInt("StreamDroppedFrameCount"), 27);
}

TEST_F(VirtualStream, SlowConsumerWithNewestOnlyAlwaysGetsARecentFrame) {
    SetStreamEnum("StreamBufferHandlingMode", "NewestOnly");
    camera->BeginAcquisition();
    uint64_t last = 0;
    for (int i = 0; i < 5; ++i) {
        std::this_thread::sleep_for(std::chrono::milliseconds(30));
        ImagePtr image = camera->GetNextImage(5000);
        EXPECT_GT(image->GetFrameID(), last + 5); // tens of frames made meanwhile
        last = image->GetFrameID();
    }
    EXPECT_GT(StreamInt("StreamDroppedFrameCount"), 20);
    camera->EndAcquisition();
}

TEST_F(VirtualStream, ImagesHeldPastEndAcquisitionStayValid) {
    SetEnum("TestPattern", "GreyDiagonalRampMoving");
    const reference::Format* fmt = reference::FindFormat("Mono8");
    camera->BeginAcquisition();
    std::vector<ImagePtr> held;
    for (int i = 0; i < 3; ++i) held.push_back(camera->GetNextImage(5000));
    camera->EndAcquisition();
    camera->DeInit();
    for (const ImagePtr& image : held)
        EXPECT_EQ(Bytes(image),
                  reference::Image(*fmt, reference::GreyDiagonalRampMoving, 64, 16, 0, 0, image->GetFrameID()));
    held[0]->Release(); // harmless after the end
    EXPECT_EQ(held[0]->GetData(), nullptr);
    held.clear(); // the others hand their buffers back as they die
}

TEST_F(VirtualStream, ImagesDroppedWithoutReleaseReturnTheirBuffers) {
    SetStreamInt("StreamBufferCountManual", 2);
    camera->BeginAcquisition();
    for (uint64_t id = 1; id <= 20; ++id) EXPECT_EQ(camera->GetNextImage(5000)->GetFrameID(), id);
    camera->EndAcquisition();
}

TEST_F(VirtualStream, AnImageHeldForeverTakesOneBufferOnly) {
    SetStreamInt("StreamBufferCountManual", 3);
    camera->BeginAcquisition();
    ImagePtr kept = camera->GetNextImage(5000);
    for (uint64_t id = 2; id <= 20; ++id) {
        ImagePtr image = camera->GetNextImage(5000);
        EXPECT_EQ(image->GetFrameID(), id);
        image->Release();
    }
    EXPECT_EQ(kept->GetFrameID(), 1u);
    camera->EndAcquisition();
}

TEST_F(VirtualStream, AllBuffersHeldStallsUntilOneIsReleased) {
    SetStreamInt("StreamBufferCountManual", 2);
    camera->BeginAcquisition();
    ImagePtr a = camera->GetNextImage(5000);
    ImagePtr b = camera->GetNextImage(5000);
    EXPECT_EQ(CodeOf([&] { camera->GetNextImage(200); }), ORVANE_ERR_TIMEOUT);
    a->Release();
    EXPECT_EQ(camera->GetNextImage(5000)->GetFrameID(), 3u);
    camera->EndAcquisition();
}

TEST_F(VirtualStream, StreamSettingsAndTLParamsAreLockedWhileStreaming) {
    EXPECT_EQ(Int("TLParamsLocked"), 0);
    camera->BeginAcquisition();
    EXPECT_EQ(Int("TLParamsLocked"), 1);
    EXPECT_EQ(StreamMap().GetNode("StreamBufferCountManual")->GetAccessMode(), RO);
    EXPECT_EQ(StreamMap().GetNode("StreamBufferHandlingMode")->GetAccessMode(), RO);
    EXPECT_NE(Map().GetNode("Width")->GetAccessMode(), RW);
    EXPECT_NE(CodeOf([&] { SetInt("Width", 128); }), 0);
    EXPECT_TRUE(CBooleanPtr(StreamMap().GetNode("StreamIsGrabbing"))->GetValue());
    EXPECT_EQ(StreamInt("StreamAnnouncedBufferCount"), 4);
    EXPECT_EQ(StreamInt("StreamBufferCountResult"), 4);
    for (int i = 0; i < 10; ++i) camera->GetNextImage(5000)->Release();
    EXPECT_EQ(StreamInt("StreamDeliveredFrameCount"), 10);
    EXPECT_GE(StreamInt("StreamReceivedFrameCount"), 10);
    EXPECT_GE(StreamInt("StreamStartedFrameCount"), 10);
    EXPECT_EQ(StreamInt("StreamIncompleteFrameCount"), 0);
    EXPECT_EQ(StreamInt("StreamLostFrameCount"), 0);
    camera->EndAcquisition();
    EXPECT_EQ(Int("TLParamsLocked"), 0);
    EXPECT_EQ(StreamMap().GetNode("StreamBufferCountManual")->GetAccessMode(), RW);
    EXPECT_EQ(Map().GetNode("Width")->GetAccessMode(), RW);
    EXPECT_FALSE(CBooleanPtr(StreamMap().GetNode("StreamIsGrabbing"))->GetValue());
    SetInt("Width", 128);
    // The counters start again with the next acquisition.
    camera->BeginAcquisition();
    camera->GetNextImage(5000)->Release();
    EXPECT_EQ(StreamInt("StreamDeliveredFrameCount"), 1);
    camera->EndAcquisition();
}

// Chunk data ----------------------------------------------------------------

class ChunkStream : public VirtualStream {
protected:
    // A file name of this process's own, removed by TearDown.
    std::string ListFile() {
        listFile = ::testing::TempDir() + "orvane-chunk-list-" + std::to_string(getpid()) + ".oil";
        return listFile;
    }
    void TearDown() override {
        if (!listFile.empty()) std::remove(listFile.c_str());
        VirtualStream::TearDown();
    }
    std::string listFile;

    void EnableAllChunks() {
        SetBool("ChunkModeActive", true);
        NodeList_t entries;
        CEnumerationPtr(Map().GetNode("ChunkSelector"))->GetEntries(entries);
        for (INode* node : entries) {
            const std::string entry = dynamic_cast<IEnumEntry*>(node)->GetSymbolic().c_str();
            SetEnum("ChunkSelector", entry.c_str());
            if (entry != "Image") SetBool("ChunkEnable", true);
        }
    }
};

TEST_F(ChunkStream, ChunkValuesAreTheImagesOwnMetadata) {
    SetInt("OffsetX", 8);
    SetInt("OffsetY", 4);
    SetFloat("ExposureTime", 250.0);
    SetFloat("Gain", 3.5);
    SetFloat("BlackLevel", 2.5);
    EnableAllChunks();
    camera->BeginAcquisition();
    uint64_t layout = 0;
    for (int i = 0; i < 3; ++i) {
        ImagePtr image = camera->GetNextImage(5000);
        const ChunkData& chunks = image->GetChunkData();
        EXPECT_EQ(uint64_t(chunks.GetFrameID()), image->GetFrameID());
        EXPECT_EQ(uint64_t(chunks.GetTimestamp()), image->GetTimeStamp());
        EXPECT_EQ(chunks.GetWidth(), 64);
        EXPECT_EQ(chunks.GetHeight(), 16);
        EXPECT_EQ(chunks.GetOffsetX(), 8);
        EXPECT_EQ(chunks.GetOffsetY(), 4);
        EXPECT_EQ(chunks.GetLinePitch(), int64_t(image->GetStride()));
        EXPECT_DOUBLE_EQ(chunks.GetExposureTime(), 250.0);
        EXPECT_DOUBLE_EQ(chunks.GetGain(), 3.5);
        EXPECT_DOUBLE_EQ(chunks.GetBlackLevel(), 2.5);
        EXPECT_EQ(chunks.GetPixelDynamicRangeMin(), 0);
        EXPECT_EQ(chunks.GetPixelDynamicRangeMax(), 255);
        EXPECT_EQ(chunks.GetSequencerSetActive(), Int("SequencerSetActive"));
        // The node map reads the chunks of the image decoded last.
        EXPECT_EQ(CEnumerationPtr(Map().GetNode("ChunkPixelFormat"))->GetIntValue(), EnumValue("PixelFormat"));
        EXPECT_EQ(CIntegerPtr(Map().GetNode("ChunkFrameID"))->GetValue(), int64_t(image->GetFrameID()));
        EXPECT_EQ(CodeOf([&] { chunks.GetEncoderValue(); }), ORVANE_ERR_NO_DATA);
        EXPECT_NE(MessageOf([&] { chunks.GetScan3dAxisMax(); }).find("ChunkScan3dAxisMax"), std::string::npos);
        EXPECT_TRUE(image->HasCRC());
        EXPECT_TRUE(image->CheckCRC());
        EXPECT_EQ(image->GetPayloadType(), 0x4001u);
        EXPECT_EQ(image->GetTLPayloadType(), PayloadType_ChunkData);
        EXPECT_EQ(int64_t(image->GetBufferSize()), Int("PayloadSize"));
        EXPECT_GT(image->GetBufferSize(), image->GetSize());
        EXPECT_NE(image->GetChunkLayoutID(), 0u);
        if (i == 0) layout = image->GetChunkLayoutID();
        EXPECT_EQ(image->GetChunkLayoutID(), layout);
        // A corrupt image no longer matches its CRC.
        static_cast<uint8_t*>(image->GetData())[100] ^= 0x40;
        EXPECT_FALSE(image->CheckCRC());
        image->Release();
    }
    camera->EndAcquisition();
}

TEST_F(ChunkStream, OnlyEnabledChunksArePresent) {
    SetBool("ChunkModeActive", true);
    SetEnum("ChunkSelector", "FrameID");
    SetBool("ChunkEnable", true);
    camera->BeginAcquisition();
    ImagePtr image = camera->GetNextImage(5000);
    EXPECT_EQ(uint64_t(image->GetChunkData().GetFrameID()), image->GetFrameID());
    EXPECT_TRUE(image->GetChunkData().IsPresent(ChunkData::FrameID));
    EXPECT_FALSE(image->GetChunkData().IsPresent(ChunkData::Gain));
    EXPECT_EQ(CodeOf([&] { image->GetChunkData().GetGain(); }), ORVANE_ERR_NO_DATA);
    EXPECT_FALSE(image->HasCRC());
    EXPECT_FALSE(image->CheckCRC());
    EXPECT_EQ(int64_t(image->GetBufferSize()), Int("PayloadSize"));
    EXPECT_EQ(image->GetBufferSize(), image->GetSize() + 8 + 16);
    camera->EndAcquisition();
}

TEST_F(ChunkStream, TheStreamChecksCrcsWhenAskedTo) {
    EnableAllChunks();
    CBooleanPtr(StreamMap().GetNode("StreamCRCCheckEnable"))->SetValue(true);
    camera->BeginAcquisition();
    for (int i = 0; i < 5; ++i) {
        ImagePtr image = camera->GetNextImage(5000);
        EXPECT_EQ(image->GetStatus(), IMAGE_STATUS_OK);
        EXPECT_EQ(uint64_t(image->GetChunkData().GetFrameID()), image->GetFrameID());
    }
    camera->EndAcquisition();
    EXPECT_EQ(StreamInt("StreamIncompleteFrameCount"), 0);
    CBooleanPtr(StreamMap().GetNode("StreamCRCCheckEnable"))->SetValue(false);
}

TEST_F(ChunkStream, WithoutChunkModeEveryChunkIsAbsent) {
    camera->BeginAcquisition();
    ImagePtr image = camera->GetNextImage(5000);
    EXPECT_EQ(CodeOf([&] { image->GetChunkData().GetFrameID(); }), ORVANE_ERR_NO_DATA);
    EXPECT_FALSE(image->HasCRC());
    EXPECT_EQ(image->GetChunkLayoutID(), 0u);
    camera->EndAcquisition();
}

// Every chunk item of b as in a: presence, value (floats bit for bit), and
// the CRC answers.
void ExpectSameChunks(const ImagePtr& a, const ImagePtr& b) {
    const ChunkData& x = a->GetChunkData();
    const ChunkData& y = b->GetChunkData();
    for (int i = 0; i < ChunkData::IntegerItemCount; ++i) {
        const ChunkData::IntegerItem item = static_cast<ChunkData::IntegerItem>(i);
        ASSERT_EQ(y.IsPresent(item), x.IsPresent(item)) << ChunkData::GetName(item);
        if (x.IsPresent(item))
            EXPECT_EQ(y.GetIntegerValue(item), x.GetIntegerValue(item)) << ChunkData::GetName(item);
        else
            EXPECT_EQ(CodeOf([&] { y.GetIntegerValue(item); }), ORVANE_ERR_NO_DATA) << ChunkData::GetName(item);
    }
    for (int i = 0; i < ChunkData::FloatItemCount; ++i) {
        const ChunkData::FloatItem item = static_cast<ChunkData::FloatItem>(i);
        ASSERT_EQ(y.IsPresent(item), x.IsPresent(item)) << ChunkData::GetName(item);
        if (x.IsPresent(item)) {
            const double u = x.GetFloatValue(item), v = y.GetFloatValue(item);
            EXPECT_EQ(std::memcmp(&u, &v, sizeof u), 0) << ChunkData::GetName(item) << ": " << u << " " << v;
        } else {
            EXPECT_EQ(CodeOf([&] { y.GetFloatValue(item); }), ORVANE_ERR_NO_DATA) << ChunkData::GetName(item);
        }
    }
    EXPECT_EQ(b->HasCRC(), a->HasCRC());
    EXPECT_EQ(b->CheckCRC(), a->CheckCRC());
}

TEST_F(ChunkStream, SavedImageListsKeepChunkValues) {
    SetInt("OffsetX", 8);
    SetFloat("Gain", 3.5);
    EnableAllChunks();
    camera->BeginAcquisition();
    ImageList list;
    for (int i = 0; i < 3; ++i) list.PushBack(camera->GetNextImage(5000));
    // The first image's chunks are decoded before the save, the others by it.
    EXPECT_EQ(uint64_t(list.GetByIndex(0)->GetChunkData().GetFrameID()), list.GetByIndex(0)->GetFrameID());
    list.Save(ListFile().c_str());
    const ImageList loaded = ImageList::Load(listFile.c_str());
    ASSERT_EQ(loaded.GetSize(), 3u);
    for (size_t i = 0; i < 3; ++i) {
        SCOPED_TRACE(i);
        const ImagePtr a = list.GetByIndex(i), b = loaded.GetByIndex(i);
        ExpectSameChunks(a, b);
        EXPECT_EQ(uint64_t(b->GetChunkData().GetFrameID()), a->GetFrameID());
        EXPECT_EQ(b->GetChunkData().GetOffsetX(), 8);
        EXPECT_DOUBLE_EQ(b->GetChunkData().GetGain(), 3.5);
        EXPECT_EQ(CodeOf([&] { b->GetChunkData().GetEncoderValue(); }), ORVANE_ERR_NO_DATA);
        EXPECT_TRUE(b->HasCRC());
        EXPECT_TRUE(b->CheckCRC());
        ASSERT_EQ(b->GetBufferSize(), a->GetBufferSize());
        EXPECT_EQ(std::memcmp(b->GetData(), a->GetData(), a->GetBufferSize()), 0);
    }
    list.Release();
    camera->EndAcquisition();
    // Loaded images need no camera: they keep their values after it closes.
    camera->DeInit();
    EXPECT_EQ(uint64_t(loaded.GetByIndex(2)->GetChunkData().GetFrameID()), loaded.GetByIndex(2)->GetFrameID());
    // A loaded image whose data changed no longer matches its CRC.
    static_cast<uint8_t*>(loaded.GetByIndex(1)->GetData())[100] ^= 0x40;
    EXPECT_FALSE(loaded.GetByIndex(1)->CheckCRC());
}

TEST_F(ChunkStream, ListsSavedAfterDeInitKeepTheValuesDecodedBefore) {
    EnableAllChunks();
    camera->BeginAcquisition();
    ImagePtr decoded = camera->GetNextImage(5000);
    ImagePtr undecoded = camera->GetNextImage(5000);
    const int64_t id = decoded->GetChunkData().GetFrameID();
    camera->EndAcquisition();
    camera->DeInit();
    ImageList list;
    list.PushBack(decoded);
    list.PushBack(undecoded);
    list.Save(ListFile().c_str()); // the undecoded image's chunks cannot be decoded any more
    const ImageList loaded = ImageList::Load(listFile.c_str());
    ASSERT_EQ(loaded.GetSize(), 2u);
    ExpectSameChunks(decoded, loaded.GetByIndex(0));
    EXPECT_EQ(loaded.GetByIndex(0)->GetChunkData().GetFrameID(), id);
    EXPECT_TRUE(loaded.GetByIndex(0)->CheckCRC());
    // Saved without chunk values: every item absent, no CRC; bytes kept.
    const ImagePtr b = loaded.GetByIndex(1);
    EXPECT_EQ(CodeOf([&] { b->GetChunkData().GetFrameID(); }), ORVANE_ERR_NO_DATA);
    EXPECT_FALSE(b->GetChunkData().IsPresent(ChunkData::Timestamp));
    EXPECT_FALSE(b->HasCRC());
    EXPECT_EQ(b->GetFrameID(), undecoded->GetFrameID());
    ASSERT_EQ(b->GetBufferSize(), undecoded->GetBufferSize());
    EXPECT_EQ(std::memcmp(b->GetData(), undecoded->GetData(), b->GetBufferSize()), 0);
}

TEST_F(ChunkStream, ChunksDecodedBeforeDeInitStayReadable) {
    EnableAllChunks();
    camera->BeginAcquisition();
    ImagePtr decoded = camera->GetNextImage(5000);
    ImagePtr undecoded = camera->GetNextImage(5000);
    const int64_t id = decoded->GetChunkData().GetFrameID();
    camera->EndAcquisition();
    camera->DeInit();
    EXPECT_EQ(decoded->GetChunkData().GetFrameID(), id);
    EXPECT_EQ(CodeOf([&] { undecoded->GetChunkData(); }), ORVANE_ERR_NOT_AVAILABLE);
}

} // namespace
