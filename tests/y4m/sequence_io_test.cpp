// The luminance reader and writer on what goes wrong: inputs that cannot be read or are
// cut short, outputs that fill up, hit the file-size limit or lose their reader.
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <sstream>
#include <string>
#include <vector>

#include "tests/y4m/StreamDir.h"
#include "y4m/SequenceReader.h"
#include "y4m/SequenceWriter.h"

using namespace y4m;

namespace {

using SequenceIo = StreamDir;

LumaStream Mono(int w, int h, FieldOrder o) { return LumaStream{w, h, Rational{25, 1}, o}; }

}  // namespace

TEST_F(SequenceIo, ReaderRefusesWhatImportRefuses) {
    std::string error;
    EXPECT_FALSE(SequenceReader::Open(Path("missing.y4m"), &error));
    EXPECT_EQ(error, "No such file or directory");
    EXPECT_FALSE(SequenceReader::Open(dir, &error));
    EXPECT_EQ(error, "is a directory");
    const struct { const char* bytes; const char* error; } bad[] = {
        {"", "the input is empty"},
        {"\x1a\x45\xdf\xa3 matroska", "not a YUV4MPEG2 stream"},
        {"YUV4MPEG2 W4 H2 C420jpeg\n", "the YUV4MPEG2 header gives no frame rate"},
        // Found by fuzzing: a rate whose four decimals are 0.0000 made a description
        // without a frame rate.
        {"YUV4MPEG2 W2 H1 F60:2000042\n",
         "the frame rate 60:2000042 is too low for a vids sequence (at least 0.0001 time samples a second)"},
    };
    for (const auto& b : bad) {
        std::istringstream in(b.bytes);
        EXPECT_FALSE(SequenceReader::Open(in, &error)) << b.bytes;
        EXPECT_EQ(error, b.error) << b.bytes;
    }
}

// A frame cut short is an error naming the frame, between its fields too; the reader
// stays at it.
TEST_F(SequenceIo, ReaderNamesTheTruncatedFrame) {
    const std::string good = Y4m("W4 H3 F25:1 It Cmono", ormel::YUV400, 4, 3, 2);
    std::istringstream in(good.substr(0, good.size() - 5));
    std::string error;
    std::unique_ptr<SequenceReader> r = SequenceReader::Open(in, &error);
    ASSERT_TRUE(r) << error;
    std::vector<std::uint8_t> luma(4 * 2);
    ASSERT_EQ(r->NextLuma(luma.data(), &error), LumaResult::kSample);
    ASSERT_EQ(r->NextLuma(luma.data(), &error), LumaResult::kSample);
    EXPECT_EQ(r->NextLuma(luma.data(), &error), LumaResult::kError);
    EXPECT_EQ(r->NextLuma(luma.data(), &error), LumaResult::kError);
    EXPECT_EQ(error, "frame 1 is truncated (7 of 12 bytes)");
}

// A last field without its partner is left out; closing twice is harmless.
TEST_F(SequenceIo, WriterLeavesOutALoneField) {
    std::string error;
    std::unique_ptr<SequenceWriter> w =
        SequenceWriter::Open(Path("o.y4m"), Mono(2, 3, FieldOrder::kBottomFirst), &error);
    ASSERT_TRUE(w) << error;
    const std::uint8_t bottom[] = {1, 2, 9, 9}, top[] = {3, 4, 5, 6};
    for (const std::uint8_t* field : {bottom, top, bottom})
        ASSERT_TRUE(w->WriteLuma(field, &error));
    EXPECT_TRUE(w->Close(&error) && w->Close(&error)) << error;
    EXPECT_TRUE(w->LeftOutField());
    EXPECT_EQ(Read("o.y4m"), "YUV4MPEG2 W2 H3 F25:1 Ib Cmono\nFRAME\n\3\4\1\2\5\6");

    EXPECT_FALSE(SequenceWriter::Open(Path("nodir/o.y4m"), Mono(2, 2, FieldOrder::kProgressive), &error));
    EXPECT_EQ(error, "No such file or directory");
    EXPECT_FALSE(SequenceWriter::Open(Path("o.y4m"), Mono(0, 2, FieldOrder::kProgressive), &error));
    EXPECT_EQ(error, "cannot write a 0x2 stream at 25:1 frames per second");
}

// Each failure comes back at the frame that meets it, and neither SIGPIPE nor SIGXFSZ
// ends the process.
TEST_F(SequenceIo, WriterReportsEveryFailedWrite) {
    std::string error;
    const std::vector<std::uint8_t> luma(8, 100);
    if (access("/dev/full", W_OK) == 0) {
        EXPECT_FALSE(SequenceWriter::Open("/dev/full", Mono(4, 2, FieldOrder::kProgressive), &error));
        EXPECT_EQ(error, "the YUV4MPEG2 header could not be written: No space left on device");
    }

    int fds[2];
    ASSERT_EQ(pipe(fds), 0);
    std::unique_ptr<SequenceWriter> w =
        SequenceWriter::Open("/dev/fd/" + std::to_string(fds[1]), Mono(4, 2, FieldOrder::kProgressive), &error);
    close(fds[1]);
    close(fds[0]);
    ASSERT_TRUE(w) << error;
    EXPECT_FALSE(w->WriteLuma(luma.data(), &error));
    EXPECT_EQ(error, "frame 0 could not be written: Broken pipe");
    EXPECT_FALSE(w->Close(&error));
    EXPECT_EQ(error, "frame 0 could not be written: Broken pipe");

    // The header (31 bytes) and one frame (14) fit under the limit, the second does not:
    // the child prints that frame's failure and exits with 3 when only it failed.
    EXPECT_EXIT(
        {
            rlimit limit;
            limit.rlim_cur = limit.rlim_max = 50;
            setrlimit(RLIMIT_FSIZE, &limit);
            auto f = SequenceWriter::Open(Path("limit.y4m"), Mono(4, 2, FieldOrder::kProgressive), &error);
            const bool first = f && f->WriteLuma(luma.data(), &error);
            if (first && !f->WriteLuma(luma.data(), &error))
                std::fprintf(stderr, "%s\n", error.c_str());
            std::exit(first ? 3 : 4);
        },
        testing::ExitedWithCode(3), "^frame 1 could not be written: File too large\n$");
}
