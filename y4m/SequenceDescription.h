// SequenceDescription: the description record of a vids sequence, read from and written
// back to its ".des" file through the vids C API, apart from any open sequence. The
// record's user variables keep what the vids lattice cannot say (the exact frame rate,
// the pixel aspect, the original colour-space tag), and a sequence can be checked
// before it is opened. Never Save a sequence that is open elsewhere in
// the process: that record would write its own description over this one.
#ifndef Y4M_SEQUENCEDESCRIPTION_H
#define Y4M_SEQUENCEDESCRIPTION_H

#include <cstdint>
#include <string>
#include <vector>

struct IMG_INF;

namespace y4m {

// The two files of sequence `name`, named as the vids library names them: extension cut
// off, "~" and environment references expanded, then ".des" and ".pic".
struct SequenceFiles {
    std::string des;
    std::string pic;
};
SequenceFiles FilesOf(const std::string& name);

// The temporal frequency that a record set to freq holds after its description has been
// written and read back once: the text keeps four decimals, so 30000/1001 (29.97002997)
// comes back as 29.9700.
float FrequencyThroughDescription(float freq);

// A file to be read: it exists, is no directory and can be read. false with *error
// ("PATH: reason") otherwise.
bool CheckFile(const std::string& path, std::string* error);

// Checks that both files of an existing sequence are there and readable; false with
// *error ("NAME.des: ...") otherwise.
bool CheckReadable(const std::string& name, std::string* error);

class SequenceDescription {
public:
    SequenceDescription();   // a default record
    ~SequenceDescription();
    SequenceDescription(const SequenceDescription&) = delete;
    SequenceDescription& operator=(const SequenceDescription&) = delete;

    // Reads name.des into the record; false after the library's message on stderr.
    bool Load(const std::string& name);
    // Writes the record over name.des; false with *error.
    bool Save(const std::string& name, std::string* error);

    IMG_INF* Record() { return inf; }
    const IMG_INF* Record() const { return inf; }

    int FileDataType() const;
    const char* FileDataTypeName() const;   // OCTET, ENTIER_2, ...
    // Bytes the data file must hold: every time sample with its padded blocks.
    int64_t DataBytes() const;

    // Vertical lattice offset of component 0; the same offset is set on every component.
    int VerticalOffset() const;
    void SetVerticalOffset(int v);

    // User variables: the values of every variable called `name`, in order.
    std::vector<std::string> Variables(const std::string& name) const;
    std::string Variable(const std::string& name) const;   // the first, or ""
    // Appends a variable; false (nothing stored) when the table is full, or the name or
    // the value is too long or holds a character the description file cannot carry.
    bool AddVariable(const std::string& name, const std::string& value);
    void SetComments(const std::string& text);

private:
    IMG_INF* inf;
};

}  // namespace y4m

#endif
