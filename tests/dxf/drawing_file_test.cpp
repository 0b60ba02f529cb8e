// Tests of opening and saving the drawing's file. What people see of it: tests/cli/drawing.session.
#include "refhost/dxf/drawing_file.h"

#include "refhost/model/drawing.h"
#include "tests/dxf/dxf_text.h"
#include "tests/support/temporary_folder.h"

#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>

namespace vlisp::refhost::dxf {
namespace {

const std::string someBytes =
    test::dxf("0 SECTION|2 ENTITIES|0 LINE|8 0|10 1.0|20 2.0|11 3.0|21 4.0|0 ENDSEC|0 EOF");

std::string inUtf8(const std::filesystem::path& path) {
    const std::u8string text = path.u8string();
    return {text.begin(), text.end()};
}

class DrawingFileTest : public testing::Test {
  protected:
    // As another program would.
    void changeOutside() {
        std::ofstream(plan_, std::ios::binary | std::ios::app) << "999\nmore\n";
    }

    void paint(int colour) {
        VmDbObject* line = drawing_.open(drawing_.at(0)->id, true);
        line->colour = colour;
        drawing_.closed(*line);
    }

    vlisp::test::TemporaryFolder folder_;
    std::filesystem::path plan_ = folder_.write("Pl\u00e4ne/\u65e5\u672c/plan.dxf", someBytes);
    Drawing drawing_;
    DrawingFile file_{drawing_};
};

TEST_F(DrawingFileTest, WhatIsSavedIsOpenedAgain) {
    file_.open(inUtf8(plan_), OnDamage::stop);
    EXPECT_FALSE(file_.hasChanges());
    paint(3);
    EXPECT_TRUE(file_.hasChanges());
    file_.save(inUtf8(plan_));
    EXPECT_FALSE(file_.hasChanges());
    EXPECT_EQ(vlisp::test::contentsOf(plan_), file_.contents());
    file_.open(inUtf8(plan_), OnDamage::stop);
    EXPECT_EQ(drawing_.at(0)->colour, 3);
}

TEST_F(DrawingFileTest, WhatCannotBeOpenedLeavesTheDrawingAsItIs) {
    file_.open(inUtf8(plan_), OnDamage::stop);
    const std::string bad = inUtf8(folder_.write("bad.dxf", "0\nSECTION\nx\n"));
    EXPECT_THROW(file_.open(bad, OnDamage::stop), FileError);
    EXPECT_EQ(file_.path(), inUtf8(plan_));
    EXPECT_EQ(file_.contents(), someBytes);
}

TEST_F(DrawingFileTest, IsItsOwnByWhateverName) {
    const std::filesystem::path above = plan_.parent_path().parent_path();
    const std::filesystem::path names[] = {
        plan_,
        above / "." / plan_.parent_path().filename() / "plan.dxf",
        plan_.parent_path() / ".." / plan_.parent_path().filename() / "plan.dxf",
    };
    for (const std::filesystem::path& name : names) {
        SCOPED_TRACE(inUtf8(name));
        file_.open(inUtf8(plan_), OnDamage::recover);
        paint(4);
        changeOutside();
        const std::string changed = vlisp::test::contentsOf(plan_);
        EXPECT_THROW(file_.save(inUtf8(name)), FileError);
        EXPECT_EQ(vlisp::test::contentsOf(plan_), changed);
        // Another place is another file, and the drawing's own is still to be saved.
        file_.save(inUtf8(folder_.path() / "copy.dxf"));
        EXPECT_TRUE(file_.hasChanges());
    }
}

}  // namespace
}  // namespace vlisp::refhost::dxf
