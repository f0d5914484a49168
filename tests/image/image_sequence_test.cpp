// ImageSequence: geometry, ownership of held images, index checks and the erase rules.
#include "image/ImageSequence.h"

#include <gtest/gtest.h>

#include <iostream>
#include <string>

#include "image/YUVImage.h"

using namespace ormel;

namespace {

// A picture that counts live instances and carries a tag in its first luminance sample,
// so tests can see which images were deleted and which entries remain.
class TaggedImage : public YUVImage {
public:
    TaggedImage(int tag, int w = 16, int h = 8) : YUVImage(YUV420, w, h) {
        Y(0, 0) = static_cast<unsigned char>(tag);
        ++alive;
    }
    ~TaggedImage() override { --alive; }
    static int alive;
};
int TaggedImage::alive = 0;

int Tag(const ImageSequence& s, int i) {
    const BaseImage* img = s[i];
    return img ? static_cast<int>(img->GetPixel(Y_COMP, 0, 0)) : -1;
}

// A sequence of 16 x 8 4:2:0 images tagged 0..n-1.
void Fill(ImageSequence& s, int n) {
    for (int k = 0; k < n; ++k)
        ASSERT_EQ(s.push_back(new TaggedImage(k)), 18);
}

class ImageSequenceOwnership : public testing::Test {
protected:
    void SetUp() override { TaggedImage::alive = 0; }
    void TearDown() override { EXPECT_EQ(TaggedImage::alive, 0) << "leaked or kept images"; }
};

}  // namespace

TEST(ImageSequenceGeometry, SizedConstructorMakesNullEntriesAndFieldHeights) {
    ImageSequence s(YUV420, 352, 288, true, true, 25.0f, 3);
    EXPECT_EQ(s.NumberOfImages(), 3);
    for (int k = 0; k < 3; ++k)
        EXPECT_EQ(s[k], nullptr);
    EXPECT_EQ(s.Height(), 576);
    EXPECT_EQ(s.Height(Y_COMP), 288);
    EXPECT_EQ(s.Height(U_COMP), 144);
    EXPECT_EQ(s.Width(V_COMP), 176);
    ImageSequence p(YUV411, 350, 10, false, false, 30.0f, 0);
    EXPECT_EQ(p.Width(U_COMP), 87);
    EXPECT_EQ(p.Height(V_COMP), 10);
    EXPECT_EQ(p.Height(), 10);
    ImageSequence m(YUV400, 8, 6, false, true, 1.0f, 0);
    EXPECT_EQ(m.Width(U_COMP), 0);
    ImageSequence other(UNKNOWN_FORMAT, 8, 6, false, true, 1.0f, 0);
    EXPECT_EQ(other.Width(U_COMP), 8);
    EXPECT_EQ(other.Height(V_COMP), 6);
}

TEST(ImageSequenceGeometry, DefaultAndImageConstructors) {
    ImageSequence d;
    EXPECT_EQ(d.NumberOfImages(), 0);
    EXPECT_EQ(d.CFormat(), UNKNOWN_FORMAT);
    EXPECT_EQ(d.Width(), 0);
    EXPECT_FALSE(d.Interlaced());
    EXPECT_TRUE(d.TopFieldFirst());
    EXPECT_EQ(d.FrameRate(), 0.0f);

    YUVImage img(YUV422, 30, 12);
    ImageSequence s(img, false, false, 24.0f, 2);
    EXPECT_EQ(s.NumberOfImages(), 2);
    EXPECT_EQ(s[0], nullptr);
    EXPECT_EQ(s.CFormat(), YUV422);
    EXPECT_EQ(s.Width(U_COMP), 15);
    EXPECT_EQ(s.Height(U_COMP), 12);
    EXPECT_FALSE(s.TopFieldFirst());
}

TEST(ImageSequenceGeometry, SamplingMatricesKeepThePlaneSizes) {
    ImageSequence s(YUV420, 16, 8, false, true, 25.0f, 0);
    s.SetSamplingMatrices(YUV444, true);
    EXPECT_EQ(s.CFormat(), YUV444);
    EXPECT_EQ(s.Width(U_COMP), 8);
    EXPECT_EQ(s.Height(), 16);
}

TEST_F(ImageSequenceOwnership, CopiesShareNoImages) {
    ImageSequence s(YUV420, 16, 8, true, false, 25.0f, 0);
    Fill(s, 10);
    ImageSequence copy(s);
    EXPECT_EQ(copy.NumberOfImages(), 0);
    EXPECT_EQ(copy.Width(U_COMP), 8);
    EXPECT_EQ(copy.Height(U_COMP), 4);
    EXPECT_EQ(copy.CFormat(), YUV420);
    EXPECT_TRUE(copy.Interlaced());
    EXPECT_FALSE(copy.TopFieldFirst());
    EXPECT_EQ(copy.FrameRate(), 25.0f);

    // Assignment takes the attributes and leaves the target's own images alone.
    ImageSequence t(YUV420, 16, 8, false, true, 30.0f, 0);
    Fill(t, 2);
    t = s;
    EXPECT_EQ(t.NumberOfImages(), 2);
    EXPECT_TRUE(t.Interlaced());
    EXPECT_EQ(t.FrameRate(), 25.0f);
    EXPECT_EQ(TaggedImage::alive, 12);
}

TEST_F(ImageSequenceOwnership, RefusedImagesStayTheCallers) {
    ImageSequence s(YUV420, 16, 8, false, true, 25.0f, 0);
    TaggedImage wrong(1, 18, 8);
    EXPECT_EQ(s.push_back(&wrong), 17);
    EXPECT_EQ(s.push_front(&wrong), 17);
    // Same luminance size, other chroma sizes: still a misfit.
    YUVImage other_format(YUV422, 16, 8);
    EXPECT_EQ(s.push_back(&other_format), 17);
    EXPECT_EQ(s.push_back(nullptr), 17);
    EXPECT_EQ(s.NumberOfImages(), 0);
    // The format itself is not compared: only the six plane sizes are.
    ImageSequence q(YUV444, 16, 8, false, true, 25.0f, 0);
    EXPECT_EQ(q.push_back(new YUVImage(UNKNOWN_FORMAT, 16, 8)), 18);
}

TEST_F(ImageSequenceOwnership, PushAndInsertKeepOrder) {
    ImageSequence s(YUV420, 16, 8, false, true, 25.0f, 0);
    EXPECT_EQ(s.push_back(new TaggedImage(1)), 18);
    EXPECT_EQ(s.push_front(new TaggedImage(0)), 18);
    EXPECT_EQ(s.push_back(new TaggedImage(3)), 18);
    EXPECT_EQ(s.insert(2, new TaggedImage(2)), 18);
    ASSERT_EQ(s.NumberOfImages(), 4);
    for (int k = 0; k < 4; ++k)
        EXPECT_EQ(Tag(s, k), k);
    EXPECT_EQ(Tag(s, 0), static_cast<int>((*s.Iterator())->GetPixel(Y_COMP, 0, 0)));

    // Appending through insert is impossible; the index is checked before the size.
    TaggedImage wrong(9, 4, 4);
    testing::internal::CaptureStdout();
    EXPECT_EQ(s.insert(4, &wrong), 20);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "ImageSequence: boundary overflow or underflow, index = 4, should range from 0 to 3\n");
    EXPECT_EQ(s.insert(1, &wrong), 17);
    EXPECT_EQ(s.NumberOfImages(), 4);
}

TEST(ImageSequenceIndex, InsertIntoAnEmptySequenceIsRefused) {
    ImageSequence s(YUV420, 16, 8, false, true, 25.0f, 0);
    YUVImage img(YUV420, 16, 8);
    testing::internal::CaptureStdout();
    EXPECT_EQ(s.insert(0, &img), 20);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "ImageSequence: boundary overflow or underflow, index = 0, should range from 0 to -1\n");
}

TEST(ImageSequenceIndex, ConstAccessOutOfRangeGivesNull) {
    const ImageSequence s(YUV420, 16, 8, false, true, 25.0f, 3);
    testing::internal::CaptureStdout();
    EXPECT_EQ(s[5], nullptr);
    EXPECT_EQ(s[-1], nullptr);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "ImageSequence: boundary overflow or underflow, index = 5, should range from 0 to 2\n"
              "ImageSequence: boundary overflow or underflow, index = -1, should range from 0 to 2\n");
}

TEST(ImageSequenceIndexDeathTest, MutableAccessOutOfRangeEndsTheProcess) {
    ImageSequence s(YUV420, 16, 8, false, true, 25.0f, 3);
    // The message goes to standard output: route it to stderr in the child to match it.
    EXPECT_EXIT(
        {
            std::cout.rdbuf(std::cerr.rdbuf());
            s[3];
        },
        testing::ExitedWithCode(1),
        "ImageSequence: boundary overflow or underflow, index = 3, should range from 0 to 2");
}

TEST_F(ImageSequenceOwnership, EraseSingleEntries) {
    ImageSequence s(YUV420, 16, 8, false, true, 25.0f, 0);
    Fill(s, 4);
    EXPECT_EQ(s.erase(1), 21);
    ASSERT_EQ(s.NumberOfImages(), 3);
    EXPECT_EQ(TaggedImage::alive, 3);
    EXPECT_EQ(Tag(s, 0), 0);
    EXPECT_EQ(Tag(s, 1), 2);
    testing::internal::CaptureStdout();
    EXPECT_EQ(s.erase(3), 20);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "ImageSequence: boundary overflow or underflow, index = 3, should range from 0 to 2\n");
    s.pop_front();
    s.pop_back();
    ASSERT_EQ(s.NumberOfImages(), 1);
    EXPECT_EQ(Tag(s, 0), 2);
    EXPECT_EQ(TaggedImage::alive, 1);
    s.pop_back();
    s.pop_back();   // empty: nothing happens
    s.pop_front();
    EXPECT_EQ(s.NumberOfImages(), 0);
}

TEST_F(ImageSequenceOwnership, EraseRangeDeletesAllButRemovesAllButTheLastEntry) {
    ImageSequence s(YUV420, 16, 8, false, true, 25.0f, 0);
    Fill(s, 5);
    EXPECT_EQ(s.erase(1, 3), 21);
    EXPECT_EQ(TaggedImage::alive, 2);
    ASSERT_EQ(s.NumberOfImages(), 3);
    EXPECT_EQ(Tag(s, 0), 0);
    EXPECT_EQ(s[1], nullptr);   // the entry that held image 3 stays, emptied
    EXPECT_EQ(Tag(s, 2), 4);

    // first == last deletes the image and removes no entry.
    EXPECT_EQ(s.erase(2, 2), 21);
    EXPECT_EQ(s.NumberOfImages(), 3);
    EXPECT_EQ(s[2], nullptr);
    EXPECT_EQ(TaggedImage::alive, 1);
    // Emptied entries can be erased again without a second delete.
    EXPECT_EQ(s.erase(1, 2), 21);
    EXPECT_EQ(s.NumberOfImages(), 2);
    s.Clear();
    EXPECT_EQ(s.NumberOfImages(), 0);
}

TEST_F(ImageSequenceOwnership, BadRangesAreRefused) {
    ImageSequence s(YUV420, 16, 8, false, true, 25.0f, 0);
    Fill(s, 3);
    testing::internal::CaptureStdout();
    EXPECT_EQ(s.erase(2, 1), 20);
    EXPECT_EQ(s.erase(0, 3), 20);
    EXPECT_EQ(s.erase(-1, 0), 20);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "ImageSequence: boundary overflow or underflow, indexes = 2 to 1, should range "
              "from 0 to 2 and should increase in order\n"
              "ImageSequence: boundary overflow or underflow, indexes = 0 to 3, should range "
              "from 0 to 2 and should increase in order\n"
              "ImageSequence: boundary overflow or underflow, indexes = -1 to 0, should range "
              "from 0 to 2 and should increase in order\n");
    EXPECT_EQ(s.NumberOfImages(), 3);
    EXPECT_EQ(TaggedImage::alive, 3);
}

TEST_F(ImageSequenceOwnership, DestructorDeletesEveryHeldImage) {
    {
        ImageSequence s(YUV420, 16, 8, false, true, 25.0f, 2);   // two null entries
        Fill(s, 3);
        EXPECT_EQ(TaggedImage::alive, 3);
    }
}
