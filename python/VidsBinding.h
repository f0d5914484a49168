// VidsBinding: gme.read_vids and gme.write_vids over LumaSequence.
#ifndef PYTHON_VIDSBINDING_H
#define PYTHON_VIDSBINDING_H

#include <pybind11/pybind11.h>

namespace gme_python {

void BindVids(pybind11::module_& m);

}  // namespace gme_python

#endif
