// BaseMethod: common root of the image-processing methods: a method name, the number
// of tuning variables and a verbosity. Only `ormel::verbose` makes a method print more.
#ifndef SEGMENTATION_BASEMETHOD_H
#define SEGMENTATION_BASEMETHOD_H

#include <string>

#include "image/Types.h"

class BaseMethod {
public:
    BaseMethod(unsigned int numVariables, std::string name, ormel::Verbose verbose);
    BaseMethod(const BaseMethod& src) = default;
    BaseMethod& operator=(const BaseMethod& src) = default;
    virtual ~BaseMethod();

    virtual ormel::Verbose GetVerbose() const;
    virtual bool SetVerbose(ormel::Verbose verbose);          // true
    virtual unsigned int GetNumVariables() const;
    virtual bool SetNumVariables(unsigned int numVariables);  // true
    virtual std::string GetMethodName() const;
    virtual void SetMethodName(std::string name);

protected:
    std::string methodName;
    unsigned int numVariables;
    ormel::Verbose verbosity;
};

#endif
