// FrameOutput: where the command writes the compensated time samples, in order.
// Nothing is created before Create; a writer that failed or was stopped is Abandoned,
// which leaves what was written readable.
#ifndef DRIVER_FRAMEOUTPUT_H
#define DRIVER_FRAMEOUTPUT_H

#include <string>
#include <vector>

namespace driver {

class FrameInput;

class FrameOutput {
public:
    virtual ~FrameOutput() = default;

    // Before anything is created: the output can be made, and replaces none of
    // inputFiles. false with *error.
    virtual bool Check(const std::vector<std::string>& inputFiles, std::string* error) = 0;
    // Creates the output for samples shaped like input's. false with *error.
    virtual bool Create(FrameInput& input, std::string* error) = 0;
    // Appends one sample (the input's size, rows its width apart). false with *error.
    virtual bool Write(const unsigned char* luma, std::string* error) = 0;
    // Completes the output. false with *error.
    virtual bool Finish(std::string* error) = 0;
    // After a failure or an interruption: closes what is open and makes the output
    // declare only the samples written completely. Errors here are not reported.
    virtual void Abandon() = 0;

    virtual long Written() const = 0;
};

}  // namespace driver

#endif
