// Writers on several threads at once: they share no state, so every file
// decodes exactly and no temporary is left.
#include <gtest/gtest.h>

#include <thread>

#include "CodecTestSupport.h"
#include "Decoders.h"
#include "codecs/ImageListFile.h"
#include "codecs/ImageWriters.h"

using namespace Orvane;
using namespace Orvane::codecs;
using namespace codectest;

TEST(WriterThreads, ConcurrentWritersShareNoState) {
    TempDir dir;
    std::vector<std::thread> threads;
    std::vector<int> failures(4, 0);
    for (int t = 0; t < 4; ++t)
        threads.emplace_back([&, t] {
            TestImage img = MakeImage(48 + static_cast<size_t>(t), 32, ChannelOrder::RGB, 8);
            const std::string base = dir.File("t" + std::to_string(t));
            for (int round = 0; round < 3; ++round) {
                WritePNG(base + ".png", img.buffer);
                WriteTIFF(base + ".tif", img.buffer);
                WriteJPEG2000(base + ".jp2", img.buffer);
                WriteBMP(base + ".bmp", img.buffer);
                WriteJPEG(base + ".jpg", img.buffer);
                ImageRecordView v;
                v.data = img.bytes.data();
                v.dataSize = img.bytes.size();
                SaveImageList(base + ".oil", std::vector<ImageRecordView>{v});
                if (!SamePixels(ReadPng(base + ".png"), img.buffer, 3)) ++failures[t];
                if (!SamePixels(ReadTiff(base + ".tif"), img.buffer, 3)) ++failures[t];
                if (!SamePixels(ReadJ2k(base + ".jp2"), img.buffer, 3)) ++failures[t];
                if (!SamePixels(ReadBmp(base + ".bmp"), img.buffer, 3)) ++failures[t];
                if (PsnrOf(ReadJpeg(base + ".jpg"), img.buffer, 3) < 35.0) ++failures[t];
                if (LoadImageList(base + ".oil").at(0).data != img.bytes) ++failures[t];
            }
        });
    for (std::thread& t : threads) t.join();
    EXPECT_EQ(failures, std::vector<int>(4, 0));
    EXPECT_EQ(dir.List().size(), 24u); // no temporaries left
}
