// The type codes of drawing objects.
// One idea: they are part of the host's contract, and also what programs see the kinds of entities by;
// so they stand apart from the classes.
// Tests: tests/drawing/entity_data_test.cpp.
#pragma once

#include <stdint.h>  // NOLINT: bridge.h is read without the C++ library too

enum VmDbType : int32_t {
    vmDbLwPolyline = 10101,
    vmDbCircle = 10111,
    vmDbArc = 10121,
    vmDbLine = 10141,
    vmDbPolyline = 10161,
    vmDbInsert = 10301,
    vmDbText = 10501,
    vmDbMText = 10511
};
