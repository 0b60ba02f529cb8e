// What the tests of refhost/console/ share: the reference host with the extension and somebody who answers.
#pragma once

#include "refhost/console/reference_host.h"

#include "core/interruption.h"
#include "host/exports.h"
#include "host/module.h"
#include "platform/text.h"
#include "tests/support/temporary_folder.h"

#include <algorithm>
#include <deque>
#include <gtest/gtest.h>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace vlisp::refhost::test {

using platform::fromUtf8;
using platform::toUtf8;
using vlisp::test::contentsOf;
using vlisp::test::TemporaryFolder;
using Lines = std::vector<std::string>;

/// Answers from a list; "^C" is an interruption.
class ScriptedAnswers final : public Answers {
  public:
    Outcome read(std::u16string_view prompt, bool continued, std::u16string& line) override {
        asked.push_back((continued ? "..." : "") + toUtf8(prompt));
        if (waiting.empty()) return Outcome::end;
        line = fromUtf8(waiting.front());
        waiting.pop_front();
        return line == u"^C" ? Outcome::interrupted : Outcome::line;
    }

    // An editor is then waited for.
    [[nodiscard]] bool isTerminal() const override { return true; }

    bool takeReply(const HostRequest& /*request*/, HostRequest& reply) override {
        if (!prepared) return false;
        reply = *prepared;
        prepared.reset();
        return true;
    }

    std::deque<std::string> waiting;
    Lines asked;
    std::optional<HostRequest> prepared;
};

class HostedLisp : public testing::Test {
  protected:
    HostedLisp()
        : host([this](std::u16string_view text) { shown.push_back(toUtf8(text)); }, answers) {
        started_ = host.startExtension();
    }

    ~HostedLisp() override {
        EXPECT_EQ(host.drawing.openCount(), 0) << "what is opened is closed";
        stopModule();
    }

    void SetUp() override { ASSERT_TRUE(started_); }

    std::string eval(std::string_view expression) {
        std::u16string text = fromUtf8(expression);
        std::ranges::replace(text, u'\n', u' ');  // a line end separates nothing
        host.evaluate([&] { currentModule()->session().EvalString(text); });
        EXPECT_FALSE(interruption::pending());
        return toUtf8(text);
    }

    void answer(std::initializer_list<const char*> lines) {
        answers.waiting.assign(lines.begin(), lines.end());
        answers.asked.clear();
    }

    void enter(std::string_view line) { host.enter(fromUtf8(line)); }

    Lines takeShown() { return std::exchange(shown, {}); }

    HostLong addLineFrom(double x1, double y1, double x2, double y2) {
        auto line = std::make_unique<VmDbLine>();
        line->addPoint(mmPoint(x1, y1, 0));
        line->addPoint(mmPoint(x2, y2, 0));
        return host.drawing.add(std::move(line));
    }

    /// The live objects: type code and points.
    std::string objects() {
        std::string all;
        for (int slot = 0; slot < host.drawing.slotCount(); ++slot) {
            const VmDbObject& object = *host.drawing.at(slot);
            if (object.erased != 0) continue;
            if (!all.empty()) all += "; ";
            all += object.typeCode == vmDbLine         ? "LINE"
                   : object.typeCode == vmDbCircle     ? "CIRCLE"
                   : object.typeCode == vmDbLwPolyline ? "PLINE"
                   : object.typeCode == vmDbText       ? "TEXT"
                                                       : std::to_string(object.typeCode);
            for (int i = 0; i < object.points.count; ++i) {
                const mmPoint& point = object.points.points[i];
                all += " " + toUtf8(numberText(point.x)) + "," + toUtf8(numberText(point.y));
            }
        }
        return all;
    }

    std::string takeError() { return toUtf8(host.takeEvaluationError()); }

    std::string prompt() { return toUtf8(host.prompt()); }

    ScriptedAnswers answers;
    Lines shown;
    ReferenceHost host;

  private:
    bool started_ = false;
};

}  // namespace vlisp::refhost::test
