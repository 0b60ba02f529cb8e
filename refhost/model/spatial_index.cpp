// The R-tree. See spatial_index.h.
#include "refhost/model/spatial_index.h"

#include <boost/geometry.hpp>
#include <boost/geometry/index/rtree.hpp>
#include <cmath>
#include <iterator>

namespace vlisp::refhost {
namespace {

namespace bg = boost::geometry;
using TreePoint = bg::model::point<double, 2, bg::cs::cartesian>;
using TreeBox = bg::model::box<TreePoint>;
using Entry = std::pair<TreeBox, HostLong>;

TreeBox treeBox(const Box& box) {
    return {TreePoint(box.left, box.bottom), TreePoint(box.right, box.top)};
}

// What has no place, or one that no number tells, is not found by place.
bool hasPlace(const Box& box) {
    return !box.isEmpty() && std::isfinite(box.left) && std::isfinite(box.bottom) &&
           std::isfinite(box.right) && std::isfinite(box.top);
}

}  // namespace

struct SpatialIndex::Tree {
    bg::index::rtree<Entry, bg::index::quadratic<16>> entries;
};

SpatialIndex::SpatialIndex() : tree_(std::make_unique<Tree>()) {}
SpatialIndex::~SpatialIndex() = default;

void SpatialIndex::build(std::span<const std::pair<HostLong, Box>> objects) {
    std::vector<Entry> entries;
    boxes_.clear();
    for (const auto& [id, box] : objects) {
        if (!hasPlace(box)) continue;
        entries.emplace_back(treeBox(box), id);
        boxes_.emplace(id, box);
    }
    tree_->entries = decltype(tree_->entries)(entries);
}

void SpatialIndex::update(HostLong id, const Box& box) {
    if (const auto before = boxes_.find(id); before != boxes_.end()) {
        tree_->entries.remove({treeBox(before->second), id});
        boxes_.erase(before);
    }
    if (!hasPlace(box)) return;
    tree_->entries.insert({treeBox(box), id});
    boxes_.emplace(id, box);
}

std::vector<HostLong> SpatialIndex::query(const Box& box) const {
    std::vector<HostLong> found;
    if (!hasPlace(box)) return found;
    const auto matches = bg::index::intersects(treeBox(box));
    for (auto entry = tree_->entries.qbegin(matches); entry != tree_->entries.qend(); ++entry)
        found.push_back(entry->second);
    return found;
}

}  // namespace vlisp::refhost
