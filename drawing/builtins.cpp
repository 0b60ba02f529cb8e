// Names of the drawing's functions. See builtins.h.
#include "drawing/builtins.h"

#include "drawing/entity_data.h"
#include "drawing/entity_modification.h"
#include "drawing/entity_names.h"
#include "drawing/selection_sets.h"
#include "drawing/tables.h"

namespace vlisp {

std::span<const ProvidedBuiltin> drawingBuiltins() noexcept {
    static constexpr ProvidedBuiltin builtins[] = {
        {"ENTNEXT", entnext},    {"ENTLAST", entlast}, {"ENTGET", entget},
        {"ENTMOD", entmod},      {"REDRAW", redraw},   {"SSGET", ssget},
        {"SSDEL", ssdel},        {"SSADD", ssadd},     {"SSNAME", ssname},
        {"SSLENGTH", sslength},  {"TBLNEXT", tblnext}, {"VM-REFRESH", vmRefresh},
        {"VM-ENTEXT", vmEntext},
    };
    return builtins;
}

}  // namespace vlisp
