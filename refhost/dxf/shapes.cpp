// What carried entities look like. See records.h.
#include "refhost/dxf/records.h"

namespace vlisp::refhost::dxf {

void readShape(const Source&, const std::vector<Record>&, CarriedObject&) {}

}  // namespace vlisp::refhost::dxf
