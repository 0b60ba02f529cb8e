// The spatial index: which objects lie near a place.
// One idea: rectangles in an R-tree of a library; who asks looks at the few objects that come back.
// Tests: tests/refhost/drawing_test.cpp.
#pragma once

#include "host/bridge.h"
#include "refhost/model/geometry.h"

#include <memory>
#include <span>
#include <unordered_map>
#include <utility>
#include <vector>

namespace vlisp::refhost {

class SpatialIndex {
  public:
    SpatialIndex();
    ~SpatialIndex();

    /// Replaces the whole content; faster than one by one.
    void build(std::span<const std::pair<HostLong, Box>> objects);
    /// Puts an object where it is now; an empty rectangle takes it out.
    void update(HostLong id, const Box& box);
    /// The objects whose rectangles meet `box`, in no order.
    [[nodiscard]] std::vector<HostLong> query(const Box& box) const;

  private:
    struct Tree;
    std::unique_ptr<Tree> tree_;
    std::unordered_map<HostLong, Box> boxes_;
};

}  // namespace vlisp::refhost
