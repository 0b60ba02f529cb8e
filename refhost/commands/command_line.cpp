// Understanding typed lines. See command_line.h.
#include "refhost/commands/command_line.h"

#include "core/reader.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <numbers>

namespace vlisp::refhost {
namespace {

constexpr std::size_t npos = std::u16string_view::npos;

std::u16string_view trimmed(std::u16string_view text) {
    const std::size_t first = text.find_first_not_of(u" \t");
    if (first == npos) return {};
    return text.substr(first, text.find_last_not_of(u" \t") + 1 - first);
}

// Whether `typed` means a keyword: a beginning of it that has at least its capitals, or just those.
bool meansKeyword(std::u16string_view typed, std::u16string_view keyword) {
    std::u16string capitals;
    for (const char16_t unit : keyword)
        if (lowerCase(unit) != unit || isDigit(unit)) capitals += unit;
    if (sameName(typed, capitals) || sameName(typed, keyword)) return true;
    return typed.size() >= std::max<std::size_t>(capitals.size(), 1) &&
           typed.size() <= keyword.size() && sameName(typed, keyword.substr(0, typed.size()));
}

std::optional<std::u16string> keywordIn(std::u16string_view prompt, std::u16string_view typed) {
    for (const std::u16string& keyword : keywordsOf(prompt))
        if (meansKeyword(typed, keyword)) return upperCased(keyword);
    return std::nullopt;
}

double radians(double degrees) { return degrees * std::numbers::pi / 180; }

// "x,y", "x,y,z" as numbers; what is missing is 0.
std::optional<mmPoint> coordinates(std::u16string_view text) {
    const std::vector<std::u16string> parts = SplitText(text, u",");
    if (parts.size() < 2 || parts.size() > 3) return std::nullopt;
    double values[3] = {0, 0, 0};
    for (std::size_t i = 0; i < parts.size(); ++i) {
        const auto value = numberNamedBy(parts[i]);
        if (!value) return std::nullopt;
        values[i] = *value;
    }
    return mmPoint(values[0], values[1], values[2]);
}

std::optional<mmPoint> polar(std::u16string_view text) {
    const std::size_t angleMark = text.find(u'<');
    if (angleMark == npos) return std::nullopt;
    const auto distance = numberNamedBy(text.substr(0, angleMark));
    const auto angle = numberNamedBy(text.substr(angleMark + 1));
    if (!distance || !angle) return std::nullopt;
    return mmPoint(*distance * std::cos(radians(*angle)), *distance * std::sin(radians(*angle)), 0);
}

double distanceBetween(Point2 a, const mmPoint& b) { return std::hypot(b.x - a.x, b.y - a.y); }
double directionTo(Point2 a, const mmPoint& b) { return std::atan2(b.y - a.y, b.x - a.x); }

}  // namespace

std::optional<double> numberNamedBy(std::u16string_view text) {
    text = trimmed(text);
    if (text.starts_with(u'+') && !text.starts_with(u"+-")) text.remove_prefix(1);
    std::string ascii;
    for (const char16_t unit : text) {
        if (unit > 0x7e) return std::nullopt;
        ascii += static_cast<char>(unit);
    }
    double value = 0;
    const char* end = ascii.data() + ascii.size();
    const auto result = std::from_chars(ascii.data(), end, value);
    if (result.ec != std::errc() || result.ptr != end || !std::isfinite(value)) return std::nullopt;
    return value;
}

std::optional<mmPoint> pointNamedBy(std::u16string_view text, const mmPoint& last) {
    text = trimmed(text);
    const bool relative = text.starts_with(u'@');
    if (relative) text.remove_prefix(1);
    if (relative && text.empty()) return last;
    auto point = polar(text);
    if (!point) point = coordinates(text);
    if (!point) return std::nullopt;
    if (relative) *point = mmPoint(last.x + point->x, last.y + point->y, last.z + point->z);
    if (!std::isfinite(point->x) || !std::isfinite(point->y) || !std::isfinite(point->z))
        return std::nullopt;
    return point;
}

double pickReach(const Drawing& drawing) {
    constexpr double rows = 600;
    return drawing.variables.integer(u"PICKBOX") * drawing.variables.real(u"VIEWSIZE") / rows;
}

mmPoint lastPoint(const Drawing& drawing) {
    const VariablePoint point = drawing.variables.point(u"LASTPOINT");
    return {point.x, point.y, point.z};
}

void setLastPoint(Drawing& drawing, const mmPoint& point) {
    drawing.variables.storePoint(u"LASTPOINT", {point.x, point.y, point.z});
}

// --- Selection ---

std::u16string Selection::prompt() const {
    if (corner_ == Corner::first) return u"Specify first corner: ";
    if (corner_ == Corner::second) return u"Specify opposite corner: ";
    return removing_ ? u"Remove objects: " : prompt_;
}

void Selection::pick(HostLong id) {
    if (removing_) chosen_.erase(id);
    else if (chosen_.insert(id).second) order_.push_back(id);
}

bool Selection::feed(const Line& line, const std::function<void(std::u16string_view)>& show) {
    std::u16string problem;
    if (line.isSelectionSet) {
        const auto* members = drawing_->members(integerAtFront(line.text));
        if (members != nullptr)
            for (const HostLong id : *members)
                if (drawing_->isLive(id)) pick(id);
        return false;
    }
    std::u16string_view rest = trimmed(line.text);
    if (rest.empty()) {
        if (corner_ == Corner::none) return true;
        corner_ = Corner::none;  // Enter at a corner gives the rectangle up
        return false;
    }
    while (!rest.empty() && problem.empty()) {
        const std::size_t end = std::min(rest.find_first_of(u" \t"), rest.size());
        if (!feedWord(rest.substr(0, end), problem)) {
            problem = u"Not an object, a point or one of [All/Last/Previous/Window/Crossing/Add/"
                      u"Remove]: ";
            problem += rest.substr(0, end);
        }
        rest = trimmed(rest.substr(end));
    }
    if (!problem.empty()) show(problem);
    return false;
}

// False when the word means nothing; `problem` tells what it means but cannot be.
bool Selection::feedWord(std::u16string_view word, std::u16string& problem) {
    if (corner_ != Corner::none) return feedCorner(word);
    const auto keyword = keywordIn(u"[ALL/Last/Previous/Window/Crossing/Add/Remove]", word);
    if (keyword == u"ALL") {
        for (int slot = 0; slot < drawing_->slotCount(); ++slot) {
            const ObjectView object = drawing_->at(slot);
            if (object == nullptr || object->erased != 0 || drawing_->isLocked(*object)) continue;
            pick(object->id);
        }
        return true;
    }
    if (keyword == u"LAST") {
        for (int slot = drawing_->slotCount() - 1; slot >= 0; --slot) {
            const ObjectView object = drawing_->at(slot);
            if (object == nullptr || object->erased != 0) continue;
            pick(object->id);
            return true;
        }
        problem = u"The drawing is empty.";
        return true;
    }
    if (keyword == u"PREVIOUS") {
        for (const HostLong id : drawing_->selected)
            if (drawing_->isLive(id)) pick(id);
        return true;
    }
    if (keyword == u"WINDOW" || keyword == u"CROSSING") {
        crossing_ = keyword == u"CROSSING";
        corner_ = Corner::first;
        return true;
    }
    if (keyword == u"ADD" || keyword == u"REMOVE") {
        removing_ = keyword == u"REMOVE";
        return true;
    }
    if (std::ranges::all_of(word, isDigit)) {
        const HostLong id = integerAtFront(word);
        if (!drawing_->isLive(id)) problem = u"No object has the id " + std::u16string(word);
        else pick(id);
        return true;
    }
    const auto point = pointNamedBy(word, lastPoint(*drawing_));
    if (!point) return false;
    setLastPoint(*drawing_, *point);
    const HostLong id = drawing_->nearest({point->x, point->y}, pickReach(*drawing_));
    if (id < 0) problem = u"Nothing is near that point.";
    else pick(id);
    return true;
}

bool Selection::feedCorner(std::u16string_view word) {
    const auto point = pointNamedBy(word, lastPoint(*drawing_));
    if (!point) return false;
    setLastPoint(*drawing_, *point);
    if (corner_ == Corner::first) {
        first_ = *point;
        corner_ = Corner::second;
        return true;
    }
    corner_ = Corner::none;
    const Box box{std::min(first_.x, point->x), std::min(first_.y, point->y),
                  std::max(first_.x, point->x), std::max(first_.y, point->y)};
    const BlockLookup lookup = drawing_->blockLookup();
    for (const HostLong id : drawing_->near(box)) {
        const ObjectView object = drawing_->find(id);
        if (crossing_ ? crosses(*object, box, lookup) : inside(*object, box, lookup)) pick(id);
    }
    return true;
}

std::vector<HostLong> Selection::take() {
    std::vector<HostLong> objects;
    for (const HostLong id : order_)
        if (chosen_.erase(id) != 0) objects.push_back(id);
    drawing_->selected = objects;
    return objects;
}

// --- CommandLine ---

CommandLine::CommandLine(dxf::DrawingFile& file, std::function<void(std::u16string_view)> show)
    : context_(file, std::move(show)) {}

CommandLine::~CommandLine() { cancel(); }

void CommandLine::start(const CommandRow& command) {
    cancel();
    context_.drawing.beginGroup();
    command_ = &command;
    try {
        run_ = std::make_unique<CommandRun>(command.run(context_));
        resume();
    } catch (...) {
        end();
        throw;
    }
}

void CommandLine::resume() {
    selection_.reset();
    firstOfTwo_.reset();
    context_.step = nullptr;
    if (!run_->resume()) return end();
    if (wanted() == InputKind::selection)
        selection_.emplace(context_.drawing, context_.step->prompt);
}

void CommandLine::end() {
    if (command_ == nullptr) return;
    run_.reset();
    command_ = nullptr;
    selection_.reset();
    context_.drawing.endGroup();
}

void CommandLine::cancel() {
    if (isActive()) end();
}

std::u16string CommandLine::prompt() const {
    if (!isActive()) return {};
    if (selection_) return selection_->prompt();
    if (firstOfTwo_) return u"Specify second point: ";
    std::u16string prompt = context_.step->prompt;
    if (const std::size_t mark = prompt.find(u'%'); mark != npos)
        prompt.replace(mark, 1, context_.options.preset);
    return prompt;
}

void CommandLine::showMistake(std::u16string_view text) {
    ++mistakes_;
    context_.show(text);
}

void CommandLine::feed(const Line& line) {
    if (!isActive()) return;
    Input input;
    if (selection_) {
        if (!selection_->feed(line, [this](std::u16string_view text) { showMistake(text); }))
            return;
        input.objects = selection_->take();
        input.kind = input.objects.empty() ? Input::Kind::enter : Input::Kind::objects;
    } else {
        std::u16string problem;
        if (!understand(line, input, problem)) {
            if (!problem.empty()) showMistake(problem);
            return;
        }
    }
    context_.input = std::move(input);
    try {
        resume();
    } catch (...) {
        end();
        throw;
    }
}

// Makes `input` of a line. False when the question stays: the line does not answer it, or only half.
bool CommandLine::understand(const Line& line, Input& input, std::u16string& problem) {
    const InputKind kind = wanted();
    const std::u16string_view typed = kind == InputKind::text ? line.text : trimmed(line.text);
    if (typed.empty()) return true;
    if (kind == InputKind::text) {
        input.kind = Input::Kind::text;
        input.text = typed;
        return true;
    }
    if (const auto keyword = keywordIn(context_.step->prompt, typed); keyword && !firstOfTwo_) {
        input.kind = Input::Kind::keyword;
        input.text = *keyword;
        return true;
    }
    const auto takeNumber = [&](double value) {
        input.kind = Input::Kind::number;
        input.number = value;
        return true;
    };
    switch (kind) {
    case InputKind::word:
        input.kind = Input::Kind::text;
        input.text = typed;
        return true;
    case InputKind::keyword: problem = u"Not one of the words in brackets: "; break;
    case InputKind::number:
    case InputKind::integer:
        if (const auto value = numberNamedBy(typed);
            value && (kind == InputKind::number || *value == std::trunc(*value)))
            return takeNumber(*value);
        problem = kind == InputKind::number ? u"Not a number: " : u"Not a whole number: ";
        break;
    case InputKind::point:
        if (const auto point = pointNamedBy(typed, lastPoint(context_.drawing))) {
            setLastPoint(context_.drawing, *point);
            input.kind = Input::Kind::point;
            input.point = *point;
            return true;
        }
        problem = u"Not a point: ";
        break;
    case InputKind::distance:
    case InputKind::angle: {
        const bool isAngle = kind == InputKind::angle;
        if (const auto value = numberNamedBy(typed); value && !firstOfTwo_)
            return takeNumber(isAngle ? radians(*value) : *value);
        if (const auto point = pointNamedBy(typed, lastPoint(context_.drawing))) {
            setLastPoint(context_.drawing, *point);
            if (!context_.options.base && !firstOfTwo_) {
                firstOfTwo_ = *point;
                return false;
            }
            const Point2 from =
                firstOfTwo_ ? Point2{firstOfTwo_->x, firstOfTwo_->y} : *context_.options.base;
            return takeNumber(isAngle ? directionTo(from, *point) : distanceBetween(from, *point));
        }
        problem = u"Not a number or a point: ";
        break;
    }
    case InputKind::text:
    case InputKind::selection: return true;
    }
    problem += typed;
    return false;
}

}  // namespace vlisp::refhost
