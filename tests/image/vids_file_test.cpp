// VidsFile: settings through the vids record, opening, and frame, block and sequence
// transfers checked against files on disk.
#include "image/VidsFile.h"

#include <unistd.h>

#include <algorithm>
#include <numeric>
#include <string>
#include <vector>

#include "image/ImageBlock.h"
#include "image/ImageSequence.h"
#include "image/YUVImage.h"
#include "tests/image/image_test_support.h"
#include "tests/vids/vids_test_support.h"

namespace {

// A test with its own directory (SequenceTest fails it when none can be made).
struct VidsFileOnDisk : SequenceTest {
    std::string Path(const std::string& base) const { return dir / base; }

    // A new progressive sequence of n frames, w x h in format fmt, 25 Hz.
    void Create(VidsFile& f, const std::string& base, ChromaFormat fmt, int w, int h, int n = 1) {
        f.SetWidth(w);
        f.SetHeight(h);
        f.SetNumberOfImages(n);
        f.SetFrameRate(25.0f);
        f.SetSamplingMatrices(fmt, false);
        ASSERT_EQ(f.Open(Path(base), OPEN_NEW), 2);
    }
};

}  // namespace

TEST(VidsFileSettings, FormatsFieldRateSignsAndCopiedSettings) {
    VidsFile f;
    EXPECT_FLOAT_EQ(f.FrameRate(), 30.0f);
    f.SetWidth(360);
    for (ChromaFormat fmt : {YUV400, YUV422, YUV444, YUV420})
        for (bool il : {false, true}) {
            f.SetSamplingMatrices(fmt, il);
            EXPECT_EQ(f.CFormat(), fmt) << fmt << " interlaced " << il;
        }
    f.SetFrameRate(25.0f);
    EXPECT_FLOAT_EQ(f.FrameRate(), 12.5f);   // an interlaced file stores its field rate
    EXPECT_EQ(Sizes(f), "360x144 180x72 180x72");   // sizes are per field
    f.SetSamplingMatrices(UNKNOWN_FORMAT, false);
    EXPECT_EQ(f.CFormat(), YUV444);
    EXPECT_EQ(f.Width(ALL_COMP), 22);
    // 4:1:1 is set by explicit lattices; the library derives 4:2:2 from them and the names.
    for (bool il : {false, true}) {
        f.SetSamplingMatrices(YUV411, il);
        EXPECT_EQ(f.CFormat(), YUV422) << "interlaced " << il;
        EXPECT_EQ(f.Interlaced(), il);
        EXPECT_EQ(Sizes(f), il ? "360x144 90x144 90x144" : "360x288 90x288 90x288");
    }
    // A luminance-only file answers the luminance size for every component.
    f.SetSamplingMatrices(YUV400, false);
    EXPECT_EQ(Sizes(f), "360x288 360x288 360x288");
    EXPECT_EQ(f.Width(ALL_COMP), 360);

    VidsFile src;
    src.SetSign(U_COMP, true);   // file component 2
    EXPECT_FALSE(src.Sign(U_COMP));
    src.SetSign(V_COMP, true);   // file component 1, which both chroma components report
    EXPECT_TRUE(src.Sign(U_COMP));
    EXPECT_FALSE(src.Sign(Y_COMP));
    src.SetNumberOfImages(7);
    src.SetSamplingMatrices(YUV422, true);
    src.SetFrameRate(50.0f);
    src.SetOnlyYComponent(true);
    VidsFile copy(src), assigned;
    assigned = src;
    for (VidsFile* f : {&copy, &assigned}) {
        EXPECT_EQ(f->NumberOfImages(), 1);
        EXPECT_EQ(f->CFormat(), YUV422);
        EXPECT_TRUE(f->OnlyYComponent());
        EXPECT_TRUE(f->Sign(U_COMP));
        EXPECT_FLOAT_EQ(f->FrameRate(), 12.5f);   // src's halved rate, stored and halved again
    }
    YUVImage img(YUV422, 64, 32);
    ImageBlock b(img, Y_COMP);
    VidsFile from_image(img), from_block(b, YUV420, true);
    EXPECT_EQ(from_image.Height(U_COMP), 32);
    EXPECT_TRUE(from_block.OnlyYComponent());
    EXPECT_FALSE(from_block.Sign(V_COMP));   // the record's signed chroma is cleared
}

TEST_F(VidsFileOnDisk, OpenStatusCodes) {
    VidsFile f;
    EXPECT_EQ(f.Open(Path("s"), static_cast<OpenType>(3)), 3);
    EXPECT_FALSE(std::filesystem::exists(Path("s.des")));
    EXPECT_EQ(f.Open(Path("s"), OPEN_OLD), 1);
    {
        VidsFile created;
        created.SetSamplingMatrices(YUV420, true);
        created.SetFrameRate(25.0f);
        EXPECT_EQ(created.Open(Path("s"), OPEN_OLD_NEW), 2);
        EXPECT_FALSE(created.Close());
    }   // the destructor closes the closed record again
    VidsFile existing;
    EXPECT_EQ(existing.Open(Path("s"), OPEN_OLD_NEW), 0);
    EXPECT_EQ(Sizes(existing), "352x144 176x72 176x72");
    EXPECT_FLOAT_EQ(existing.FrameRate(), 12.5f);
}

TEST_F(VidsFileOnDisk, FramesRoundTripThroughCopyAndMisfitsAreRefused) {
    std::vector<YUVImage> frames(3, YUVImage(YUV420, 24, 10));
    VidsFile src, in;
    Create(src, "s", YUV420, 24, 10);
    for (int k = 0; k < 3; ++k) {
        Texture(frames[k], k);
        EXPECT_EQ(src.Write(frames[k], k), 18) << k;   // grows the file
    }
    VidsFile().Copy(src, Path("copy"), 1, 10);   // `last` beyond the end
    ASSERT_EQ(in.Open(Path("copy"), OPEN_OLD), 0);
    ASSERT_EQ(in.NumberOfImages(), 2);
    YUVImage got(in);
    for (int k = 0; k < 2; ++k) {
        ASSERT_EQ(in.Read(got, k), 18);
        EXPECT_EQ(Mismatch(got, frames[k + 1]), "") << "frame " << k;
    }
    EXPECT_EQ(in.Read(got, 2), 1);
    YUVImage wider(YUV420, 26, 10), other_chroma(YUV422, 24, 10);
    EXPECT_EQ(src.Read(wider, 0), 17);
    EXPECT_EQ(src.Write(other_chroma, 0), 17);   // all six sizes count for a colour file
}

TEST_F(VidsFileOnDisk, ChromaPlanesComeFromTheirFileComponents) {
    // File component 1 (V) every second pixel, 2 (U) every fourth, written directly.
    IMG_INF* inf = r.inf;
    Img_set_sizes(inf, 16, 4, 1);
    Img_set_smpl_mtrx(inf, 0, 1, 0, 1, 0, 0, 1);
    Img_set_smpl_mtrx(inf, 1, 2, 0, 1, 0, 0, 1);
    Img_set_smpl_mtrx(inf, 2, 4, 0, 1, 0, 0, 1);
    Img_set_dsigns(inf, 0, 0, 0);
    ASSERT_EQ(Openvids(Path("odd").c_str(), inf, "new", 7), 2);
    std::vector<unsigned char> y(64, 1), v(32), u(16);
    std::iota(v.begin(), v.end(), 100);
    std::iota(u.begin(), u.end(), 200);
    const int all[3] = {1, 1, 1};
    ASSERT_EQ(Writevids(0, all, IMG_UBYTE, y.data(), v.data(), u.data(), inf, 4135), 0);
    Closevids(inf, 0);

    VidsFile f;
    ASSERT_EQ(f.Open(Path("odd"), OPEN_OLD), 0);
    EXPECT_EQ(Sizes(f), "16x4 4x4 8x4");
    YUVImage img(f);
    ASSERT_EQ(f.Read(img, 0), 18);
    EXPECT_TRUE(std::equal(u.begin(), u.end(), img.GetArray(U_COMP)));
    EXPECT_TRUE(std::equal(v.begin(), v.end(), img.GetArray(V_COMP)));
    // A U block reads file component 1, larger than its plane, without overflowing.
    ImageBlock ub(img, U_COMP);
    EXPECT_EQ(f.Read(ub, 0), 18);
    EXPECT_TRUE(std::equal(v.begin(), v.begin() + 16, img.GetArray(U_COMP)));
}

TEST_F(VidsFileOnDisk, LuminanceOnlyFile) {
    YUVImage frame(YUV420, 20, 12);
    Texture(frame, 5);
    {
        VidsFile out;
        Create(out, "mono", YUV400, 20, 12);
        EXPECT_EQ(out.Write(frame, 0), 18);   // only the luminance size is checked
        YUVImage narrow(YUV400, 18, 12);
        EXPECT_EQ(out.Write(narrow, 1), 17);
    }
    VidsFile in;
    ASSERT_EQ(in.Open(Path("mono"), OPEN_OLD), 0);
    EXPECT_EQ(Sizes(in), "20x12 20x12 20x12");
    YUVImage img(in);
    ASSERT_EQ(in.Read(img, 0), 18);
    EXPECT_EQ(Mismatch(img, frame, 0, 0), "");
    // Its picture has whole chroma planes, so whole-plane operations stay inside them.
    EXPECT_EQ(img.Clear(ALL_COMP), 10);
    EXPECT_EQ(img.V(19, 11), 128);
    EXPECT_EQ(in.Read(frame, 0), 17);   // reading keeps the strict test
    ImageBlock u(frame, U_COMP);
    EXPECT_EQ(in.Read(u, 0), 22);
    EXPECT_EQ(in.Write(u, 0), 22);
    VidsFile only_y;
    only_y.SetOnlyYComponent(true);
    Create(only_y, "only_y", YUV420, 20, 12);
    EXPECT_EQ(only_y.Write(u, 0), 22);
}

TEST_F(VidsFileOnDisk, SequencesRoundTrip) {
    ImageSequence seq(YUV420, 16, 8, false, true, 25.0f, 0);
    for (int k = 0; k < 3; ++k) {
        YUVImage* img = new YUVImage(YUV420, 16, 8);
        Texture(*img, k + 3);
        ASSERT_EQ(seq.push_back(img), 18);
    }
    VidsFile in, none;
    Create(in, "s", YUV420, 16, 8);
    ImageSequence empty(seq), wrong(YUV422, 16, 8, false, true, 25.0f, 1), back(in),
        small(YUV420, 8, 8, false, true, 25.0f, 0);
    EXPECT_EQ(in.Write(empty), 19);
    EXPECT_EQ(in.Write(wrong), 17);
    EXPECT_EQ(in.Write(seq), 18);
    EXPECT_EQ(in.Read(back), 18);
    ASSERT_EQ(back.NumberOfImages(), 3);
    for (int k = 0; k < 3; ++k)
        EXPECT_EQ(Mismatch(*back[k], *seq[k]), "") << "frame " << k;
    EXPECT_EQ(in.Read(small), 17);
    EXPECT_EQ(small.NumberOfImages(), 0);
    Create(none, "none", YUV420, 16, 8, 0);
    EXPECT_EQ(none.Read(back), 18);   // a file without frames appends nothing
    EXPECT_EQ(back.NumberOfImages(), 3);
}

TEST_F(VidsFileOnDisk, BlocksWholePlaneAndWindows) {
    VidsFile f;
    Create(f, "s", YUV420, 32, 16);
    YUVImage frame(YUV420, 32, 16), got(frame), want(frame), large(YUV420, 34, 16);
    Texture(frame, 4);
    ASSERT_EQ(f.Write(frame, 0), 18);
    ImageBlock v(frame, V_COMP), win(got, Y_COMP), u(frame, U_COMP), big(large, Y_COMP);
    EXPECT_EQ(f.Read(big, 0), 17);
    EXPECT_EQ(f.Write(big, 0), 17);
    // A whole-plane V block goes to file component 2, which whole frames read as U; the
    // frame it adds gets no blank.
    ASSERT_EQ(f.Write(v, 1), 18);
    ASSERT_EQ(f.Read(got, 1), 18);
    want.CopyFrom(frame.GetArray(V_COMP), U_COMP);
    EXPECT_EQ(Mismatch(got, want), "");
    // A window travels at its origin; the rest of the plane stays (black from frame 1).
    ASSERT_EQ(win.SetOrigin(5, 3), 1);
    win.SetWindow(7, 4);
    ASSERT_EQ(f.Read(win, 0), 18);
    for (int j = 0; j < 16; ++j)
        for (int i = 0; i < 32; ++i)
            ASSERT_EQ(got.Y(i, j), Inside(i, j, 5, 3, 7, 4) ? frame.Y(i, j) : 0) << i << "," << j;
    // A U window lands in file component 1: over an existing frame, and beyond the end in
    // a new blank frame (grey there; growth alone would leave 0).
    ASSERT_EQ(u.SetOrigin(4, 2), 1);
    u.SetWindow(8, 4);
    for (int k : {0, 3}) {
        ASSERT_EQ(f.Write(u, k), 18);
        ASSERT_EQ(f.Read(got, k), 18);
        for (int j = 0; j < 8; ++j)
            for (int i = 0; i < 16; ++i) {
                const int outside = k ? 128 : frame.V(i, j);
                ASSERT_EQ(got.V(i, j), Inside(i, j, 4, 2, 8, 4) ? frame.U(i, j) : outside)
                    << "frame " << k << " at " << i << "," << j;
            }
        if (k == 0) {
            EXPECT_EQ(Mismatch(got, frame, 0, 1), "");
        }
    }
    EXPECT_EQ(f.NumberOfImages(), 4);
}

TEST_F(VidsFileOnDisk, FailuresReachTheCaller) {
    YUVImage frame(YUV420, 176, 144);
    Texture(frame, 1);
    {
        VidsFile out;
        Create(out, "s", YUV420, 176, 144, 12);   // 38912 bytes a frame
        // A child whose files may not grow beyond frame 12: writing it fails.
        EXPECT_EXIT(
            {
                LimitFileSize(12 * 38912);
                exit(out.Write(frame, 12));
            },
            ExitedWithCode(1), "mywrvids: File too large");
        ASSERT_EQ(out.Write(frame, 1), 18);
        EXPECT_FALSE(out.Close());
    }
    // 100000 bytes where 12 frames are declared: frame 2 is cut short.
    ASSERT_EQ(truncate(Path("s.pic").c_str(), 100000), 0);
    VidsFile in;
    ASSERT_EQ(in.Open(Path("s"), OPEN_OLD), 0);
    YUVImage got(in);
    CaptureStderr();
    EXPECT_EQ(in.Read(got, 1), 18);
    EXPECT_EQ(Mismatch(got, frame), "");
    EXPECT_EQ(in.Read(got, 2), 1);
    EXPECT_EQ(GetCapturedStderr(),
              "Readvids: File " + Path("s") + " too short: field 2, component 0 incomplete\n");
}

TEST_F(VidsFileOnDisk, HostileDescriptionLeavesTheSettings) {
    {
        VidsFile out;
        Create(out, "s", YUV420, 16, 8);
    }
    const std::string des = FileText(Path("s.des"));
    std::ofstream(Path("s.des")) << des.substr(0, des.find("04 ")) << "04 = 100000, = 100000, = 1\n"
                                 << des.substr(des.find("05 "));
    VidsFile f;
    CaptureStderr();
    EXPECT_EQ(f.Open(Path("s"), OPEN_OLD), 1);
    EXPECT_EQ(GetCapturedStderr(),
              "get_info: Frame size 100000 x 100000 exceeds the limit of 67108864 samples\n"
              "Openvids: fatal error; get_info \n");
    const YUVImage img(f);   // planes of the settings, not of the description
    EXPECT_EQ(Sizes(f), "352x288 176x144 176x144");
    EXPECT_EQ(img.Width(Y_COMP) * img.Height(Y_COMP), 352 * 288);
}

// 7680 x 4320 4:2:0 frames beyond 4 GiB of a sparse data file, through whole-frame
// transfers: frame 87 starts at 87 x 49766400 bytes.
TEST_F(VidsFileOnDisk, UltraHdFramesBeyondFourGiB) {
    {
        VidsFile out;
        Create(out, "uhd", YUV420, 7680, 4320);
    }
    ASSERT_EQ(truncate(Path("uhd.pic").c_str(), 87LL * 49766400), 0);
    YUVImage frame(YUV420, 7680, 4320);
    Texture(frame, 2);
    VidsFile f;
    ASSERT_EQ(f.Open(Path("uhd"), OPEN_OLD), 0);
    ASSERT_EQ(f.Write(frame, 87), 18);   // extends the sequence to 88 frames
    EXPECT_EQ(FileSize(Path("uhd.pic")), 88LL * 49766400);
    YUVImage got(f);
    ASSERT_EQ(f.Read(got, 87), 18);
    EXPECT_EQ(Mismatch(got, frame), "");
    EXPECT_EQ(f.NumberOfImages(), 88);
}
