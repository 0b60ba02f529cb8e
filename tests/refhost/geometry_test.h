// What the tests of refhost/model/geometry.h and pieces.h share: objects by their points, blocks by name,
// and places that are compared with a tolerance.
#pragma once

#include "refhost/model/geometry.h"
#include "refhost/model/objects.h"

#include <gtest/gtest.h>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace vlisp::refhost::test {

template <class Class> std::unique_ptr<Class> made(const std::vector<Point2>& points) {
    auto object = std::make_unique<Class>();
    for (const Point2 point : points) object->addPoint(mmPoint(point.x, point.y, 0));
    return object;
}

inline const BlockLookup noBlocks;

class Blocks {
  public:
    template <class... Objects>
    Blocks& define(const std::u16string& name, Point2 base, Objects... objects) {
        Block& block = blocks_[name];
        block.base = base;
        (add(name, std::move(objects)), ...);
        return *this;
    }
    void add(const std::u16string& name, std::unique_ptr<VmDbObject> object) {
        Block& block = blocks_[name];
        block.view.push_back(object.get());
        block.contents.push_back(std::move(object));
    }
    const std::vector<const VmDbObject*>* find(std::u16string_view name, Point2& base) const {
        const auto block = blocks_.find(std::u16string(name));
        if (block == blocks_.end()) return nullptr;
        base = block->second.base;
        return &block->second.view;
    }
    [[nodiscard]] BlockLookup lookup() const {
        return [this](std::u16string_view name, Point2& base) { return find(name, base); };
    }

  private:
    struct Block {
        Point2 base;
        std::vector<std::unique_ptr<VmDbObject>> contents;
        std::vector<const VmDbObject*> view;
    };
    std::map<std::u16string, Block> blocks_;
};

inline void expectNear(Point2 actual, Point2 expected, double tolerance = 1e-9) {
    EXPECT_NEAR(actual.x, expected.x, tolerance);
    EXPECT_NEAR(actual.y, expected.y, tolerance);
}

inline void expectNear(const Box& actual, const Box& expected, double tolerance = 1e-9) {
    if (expected.isEmpty()) {
        EXPECT_TRUE(actual.isEmpty());
        return;
    }
    expectNear(Point2{actual.left, actual.bottom}, {expected.left, expected.bottom}, tolerance);
    expectNear(Point2{actual.right, actual.top}, {expected.right, expected.top}, tolerance);
}

}  // namespace vlisp::refhost::test
