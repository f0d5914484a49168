// ImageSequence: geometry, ownership of held images, index checks and the erase rules.
#include "image/ImageSequence.h"

#include <gtest/gtest.h>

#include <iostream>
#include <string>

#include "image/YUVImage.h"

using namespace ormel;

namespace {

const std::string kIndex = "ImageSequence: boundary overflow or underflow, index = ";
const std::string kRange = "ImageSequence: boundary overflow or underflow, indexes = ";

// A 16 x 8 4:2:0 picture that counts live instances and carries a tag in its first
// sample, so tests see which images were deleted and which entries remain.
struct Tagged : YUVImage {
    explicit Tagged(int tag) : YUVImage(YUV420, 16, 8) {
        Y(0, 0) = static_cast<unsigned char>(tag);
        ++alive;
    }
    ~Tagged() override { --alive; }
    static inline int alive = 0;
};

// The entries' tags in order, "-" for an empty entry.
std::string Tags(const ImageSequence& s) {
    std::string out;
    for (int i = 0; i < s.NumberOfImages(); ++i)
        out += (i ? " " : "") + (s[i] ? std::to_string(s[i]->GetPixel(Y_COMP, 0, 0)) : "-");
    return out;
}

}  // namespace

TEST(ImageSequenceGeometry, ConstructorsCopiesAndAssignment) {
    const ImageSequence s(YUV420, 352, 288, true, false, 25.0f, 3);
    EXPECT_EQ(Tags(s), "- - -");
    EXPECT_EQ(s.Height(), 576);   // frame height of a sequence of fields
    EXPECT_EQ(s.Height(U_COMP), 144);
    // Chroma sizes follow the picture's own table: a picture of every format fits.
    for (ChromaFormat f : {YUV400, YUV422, YUV444, YUV420, YUV411, UNKNOWN_FORMAT}) {
        ImageSequence q(f, 350, 10, false, true, 1.0f, 0);
        EXPECT_EQ(q.push_back(new YUVImage(f, 350, 10)), 18) << "format " << f;
    }
    YUVImage img(YUV422, 30, 12);
    ImageSequence from_image(img, false, false, 24.0f, 2);
    EXPECT_EQ(from_image.push_back(new YUVImage(img)), 18);
    EXPECT_EQ(Tags(from_image), "- - 0");
    EXPECT_EQ(ImageSequence().CFormat(), UNKNOWN_FORMAT);
    // Copies are empty, with the source's geometry, fields and rate; assignment takes
    // those and keeps its own images.
    const ImageSequence copy(s);
    EXPECT_EQ(Tags(copy), "");
    EXPECT_EQ(copy.Height(V_COMP), 144);
    EXPECT_TRUE(copy.Interlaced() && !copy.TopFieldFirst());
    EXPECT_EQ(copy.FrameRate(), 25.0f);
    from_image = s;
    EXPECT_EQ(Tags(from_image), "- - 0");
    EXPECT_EQ(from_image.Height(), 576);
    EXPECT_EQ(from_image.FrameRate(), 25.0f);
}

TEST(ImageSequenceOwnership, InsertionOrderAndRefusals) {
    ImageSequence seq(YUV420, 16, 8, false, true, 25.0f, 0), empty(seq);
    EXPECT_EQ(seq.push_back(new Tagged(1)), 18);
    EXPECT_EQ(seq.push_front(new Tagged(0)), 18);
    EXPECT_EQ(seq.push_back(new Tagged(3)), 18);
    EXPECT_EQ(seq.insert(2, new Tagged(2)), 18);
    // Refused images stay the caller's: these live on the stack.
    YUVImage wider(YUV420, 18, 8), other_chroma(YUV422, 16, 8);
    EXPECT_EQ(seq.push_back(&wider), 17);
    EXPECT_EQ(seq.push_front(&other_chroma), 17);
    EXPECT_EQ(seq.insert(1, &wider), 17);
    testing::internal::CaptureStdout();
    EXPECT_EQ(seq.insert(4, &wider), 20);   // appending through insert is impossible
    EXPECT_EQ(empty.insert(0, &wider), 20);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              kIndex + "4, should range from 0 to 3\n" + kIndex + "0, should range from 0 to -1\n");
    EXPECT_EQ(Tags(seq), "0 1 2 3");
    seq.Clear();
    EXPECT_EQ(Tagged::alive, 0);
    // Only sizes are compared, not the format.
    ImageSequence full(YUV444, 16, 8, false, true, 25.0f, 0);
    EXPECT_EQ(full.push_back(new YUVImage(UNKNOWN_FORMAT, 16, 8)), 18);
}

TEST(ImageSequenceIndexDeathTest, OutOfRangeAccess) {
    const ImageSequence s(YUV420, 16, 8, false, true, 25.0f, 3);
    testing::internal::CaptureStdout();
    EXPECT_EQ(s[5], nullptr);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), kIndex + "5, should range from 0 to 2\n");
    ImageSequence m(YUV420, 16, 8, false, true, 25.0f, 3);
    EXPECT_EXIT(
        {
            std::cout.rdbuf(std::cerr.rdbuf());   // to match the message in the child
            m[-1];
        },
        testing::ExitedWithCode(1), "index = -1, should range from 0 to 2");
}

TEST(ImageSequenceOwnership, EraseAndPop) {
    ImageSequence seq(YUV420, 16, 8, false, true, 25.0f, 0);
    for (int k = 0; k < 7; ++k)
        seq.push_back(new Tagged(k));
    EXPECT_EQ(seq.erase(1), 21);
    testing::internal::CaptureStdout();
    EXPECT_EQ(seq.erase(6), 20);
    EXPECT_EQ(seq.erase(2, 1), 20);
    EXPECT_EQ(seq.erase(0, 6), 20);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              kIndex + "6, should range from 0 to 5\n" +
              kRange + "2 to 1, should range from 0 to 5 and should increase in order\n" +
              kRange + "0 to 6, should range from 0 to 5 and should increase in order\n");
    seq.pop_front();
    seq.pop_back();
    EXPECT_EQ(Tags(seq), "2 3 4 5");
    // A range deletes first..last but removes the entries first..last-1: the last stays,
    // emptied.
    EXPECT_EQ(seq.erase(0, 2), 21);
    EXPECT_EQ(Tags(seq), "- 5");
    EXPECT_EQ(Tagged::alive, 1);
    EXPECT_EQ(seq.erase(1, 1), 21);   // deletes, removes no entry
    EXPECT_EQ(Tags(seq), "- -");
    EXPECT_EQ(Tagged::alive, 0);
    EXPECT_EQ(seq.erase(0, 1), 21);   // emptied entries are not deleted again
    EXPECT_EQ(Tags(seq), "-");
    ImageSequence empty;
    empty.pop_back();   // refused without harm
    empty.pop_front();
}
