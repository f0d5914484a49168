// BaseMethod: the name, variable count and verbosity shared by every method.
#include "segmentation/BaseMethod.h"

#include <utility>

BaseMethod::BaseMethod(unsigned int numVariables, std::string name, ormel::Verbose verbose)
    : methodName(std::move(name)), numVariables(numVariables), verbosity(verbose) {}

BaseMethod::~BaseMethod() {}

ormel::Verbose BaseMethod::GetVerbose() const { return verbosity; }

bool BaseMethod::SetVerbose(ormel::Verbose verbose) {
    verbosity = verbose;
    return true;
}

unsigned int BaseMethod::GetNumVariables() const { return numVariables; }

bool BaseMethod::SetNumVariables(unsigned int numVariables) {
    this->numVariables = numVariables;
    return true;
}

std::string BaseMethod::GetMethodName() const { return methodName; }

void BaseMethod::SetMethodName(std::string name) { methodName = std::move(name); }
