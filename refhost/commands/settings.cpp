// Commands that change how one draws: layers, colour, view, variables, help. See commands.h.
#include "core/reader.h"
#include "platform/text.h"
#include "refhost/commands/command_line.h"
#include "refhost/commands/commands.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace vlisp::refhost {
namespace {

using platform::fromUtf8;

constexpr Step layerTable[] = {
    {InputKind::keyword, u"Enter an option [?/Make/Set/New/ON/OFF/Color/LOck/Unlock]: "},
    {InputKind::word, u"Enter name of layer: "},
    {InputKind::word, u"Enter colour: "},
};

constexpr Step colourTable[] = {
    {InputKind::word, u"Enter colour number or [BYLayer/BYBlock] <%>: "}};

constexpr Step zoomTable[] = {
    {InputKind::number, u"Enter a scale factor or [All/Center/Extents/Window]: "},
    {InputKind::point, u"Specify first corner: "},
    {InputKind::point, u"Specify opposite corner: "},
    {InputKind::point, u"Specify center point: "},
    {InputKind::distance, u"Enter height <%>: "},
};

constexpr Step setvarTable[] = {
    {InputKind::word, u"Enter variable name or [?]: "},
    {InputKind::text, u"Enter new value <%>: "},
};

constexpr Step helpTable[] = {{InputKind::word, u"Enter a command's name, or nothing for all: "}};

// A colour index that a word names; nothing when it names none.
std::optional<std::int32_t> colourNamed(std::u16string_view word) {
    static constexpr std::u16string_view names[] = {u"RED",  u"YELLOW",  u"GREEN", u"CYAN",
                                                    u"BLUE", u"MAGENTA", u"WHITE"};
    for (std::size_t i = 0; i < std::size(names); ++i)
        if (sameName(word, names[i])) return static_cast<std::int32_t>(i + 1);
    const std::int32_t number = integerAtFront(word);
    const bool digits = word.find_first_not_of(u"0123456789") == std::u16string_view::npos;
    if (!digits || number < 1 || number > 255) return std::nullopt;
    return number;
}

void listLayers(const CommandContext& context) {
    for (const Layer& layer : context.drawing.layers())
        context.show(layer.name + u"  colour " + numberText(layer.colour) +
                     (layer.on ? u"  on" : u"  off") + (layer.locked ? u"  locked" : u""));
}

void setCurrentLayer(const CommandContext& context, const std::u16string& name) {
    if (!context.drawing.variables.setText(u"CLAYER", name))
        context.show(u"There is no layer " + name + u".");
}

// Whether a layer can have this name: the variable that says which is current must hold it.
bool canName(std::u16string_view name) {
    constexpr std::size_t longest = 255;
    return !name.empty() && name.size() <= longest && std::ranges::all_of(name, [](char16_t unit) {
        return unit >= 0x20 && unit != u'"' && (unit < 0x7f || unit > 0x9f);
    });
}

void makeLayer(const CommandContext& context, const std::u16string& name) {
    if (name.empty() || context.drawing.findLayer(name) != nullptr) return;
    if (canName(name)) context.drawing.changeLayer(name);
    else context.show(u"Not a name for a layer: " + name);
}

// Several names are divided by commas.
std::vector<std::u16string> namesIn(std::u16string_view text) {
    std::vector<std::u16string> names = SplitText(text, u",");
    for (std::u16string& name : names) {
        name.erase(0, name.find_first_not_of(u' '));
        name.erase(name.find_last_not_of(u' ') + 1);
    }
    return names;
}

// Options of LAYER that do something to layers that exist.
void changeLayers(const CommandContext& context, std::u16string_view option,
                  std::optional<std::int32_t> colour, std::u16string_view names) {
    Drawing& drawing = context.drawing;
    for (const std::u16string& name : namesIn(names)) {
        if (drawing.findLayer(name) == nullptr) {
            context.show(u"There is no layer " + name + u".");
            continue;
        }
        Layer& layer = drawing.changeLayer(name);
        if (option == u"ON") layer.on = true;
        if (option == u"OFF") layer.on = false;
        if (option == u"LOCK") layer.locked = true;
        if (option == u"UNLOCK") layer.locked = false;
        if (colour) {
            layer.colour = *colour;
            layer.trueColour.reset();
        }
    }
}

// Sets a variable to what was typed, a number where it takes one.
bool setTyped(Variables& variables, const std::u16string& name, const std::u16string& typed) {
    const VariableType type = Variables::find(name)->type;
    if (type != VariableType::Integer && type != VariableType::Real)
        return variables.setText(name, typed);
    const auto number = numberNamedBy(typed);
    if (!number) return false;
    const bool whole = *number >= std::numeric_limits<int>::min() &&
                       *number <= std::numeric_limits<int>::max() && *number == std::trunc(*number);
    return whole ? variables.setInt(name, static_cast<int>(*number))
                 : variables.setReal(name, *number);
}

void showView(CommandContext& context, const Box& box) {
    if (box.isEmpty()) return;
    Variables& variables = context.drawing.variables;
    const double height = std::max(box.top - box.bottom, (box.right - box.left) * 3 / 4);
    variables.storePoint(u"VIEWCTR", {(box.left + box.right) / 2, (box.bottom + box.top) / 2, 0});
    if (height > 0) variables.storeReal(u"VIEWSIZE", height);
}

}  // namespace

const std::span<const Step> layerSteps = layerTable;
const std::span<const Step> colourSteps = colourTable;
const std::span<const Step> zoomSteps = zoomTable;
const std::span<const Step> setvarSteps = setvarTable;
const std::span<const Step> helpSteps = helpTable;

CommandRun layer(CommandContext& context) {
    Drawing& drawing = context.drawing;
    for (;;) {
        const Input option = co_await context.ask(layerTable[0]);
        if (!option.is(Input::Kind::keyword)) co_return;
        if (option.text == u"?") {
            listLayers(context);
            continue;
        }
        std::optional<std::int32_t> colour;
        if (option.text == u"COLOR") {
            const Input typed = co_await context.ask(layerTable[2]);
            colour = colourNamed(typed.text);
            if (!colour) {
                context.show(u"Not a colour: " + typed.text);
                continue;
            }
        }
        const Input name = co_await context.ask(layerTable[1]);
        // Enter means the current layer where that makes sense.
        std::u16string names = name.is(Input::Kind::text) ? name.text : std::u16string();
        if (names.empty()) names = drawing.variables.text(u"CLAYER");
        if (option.text == u"NEW") {
            for (const std::u16string& each : namesIn(names)) makeLayer(context, each);
        } else if (option.text == u"MAKE") {
            makeLayer(context, names);
            setCurrentLayer(context, names);
        } else if (option.text == u"SET") {
            setCurrentLayer(context, names);
        } else {
            changeLayers(context, option.text, colour, names);
        }
    }
}

CommandRun colour(CommandContext& context) {
    Variables& variables = context.drawing.variables;
    const Input input = co_await context.ask(colourTable[0], variables.text(u"CECOLOR"));
    if (input.is(Input::Kind::enter)) co_return;
    std::u16string value = input.text;
    if (const auto index = colourNamed(value)) value = numberText(*index);
    if (!variables.setText(u"CECOLOR", value)) context.show(u"Not a colour: " + input.text);
}

CommandRun zoom(CommandContext& context) {
    Drawing& drawing = context.drawing;
    const Input input = co_await context.ask(zoomTable[0]);
    if (input.isKeyword(u"ALL") || input.isKeyword(u"EXTENTS")) {
        showView(context, drawing.extents());
    } else if (input.isKeyword(u"WINDOW")) {
        const Input first = co_await context.ask(zoomTable[1]);
        const Input second = co_await context.ask(zoomTable[2]);
        if (!first.is(Input::Kind::point) || !second.is(Input::Kind::point)) co_return;
        Box box;
        box.add(flat(first.point));
        box.add(flat(second.point));
        showView(context, box);
    } else if (input.isKeyword(u"CENTER")) {
        const Input centre = co_await context.ask(zoomTable[3]);
        if (!centre.is(Input::Kind::point)) co_return;
        const Input height = co_await context.ask(zoomTable[4], flat(centre.point),
                                                  numberText(drawing.variables.real(u"VIEWSIZE")));
        drawing.variables.storePoint(u"VIEWCTR", {centre.point.x, centre.point.y, 0});
        if (height.number > 0) drawing.variables.storeReal(u"VIEWSIZE", height.number);
    } else if (input.is(Input::Kind::number) && input.number > 0) {
        drawing.variables.storeReal(u"VIEWSIZE",
                                    drawing.variables.real(u"VIEWSIZE") / input.number);
    }
}

CommandRun regen(CommandContext& context) {
    context.show(u"Regenerating.");
    Regen();
    co_return;
}

CommandRun setVariable(CommandContext& context) {
    Variables& variables = context.drawing.variables;
    const Input name = co_await context.ask(setvarTable[0]);
    if (name.isKeyword(u"?")) {
        for (const VariableRow& row : Variables::rows())
            context.show(fromUtf8(row.name) + u" = " + *variables.asText(fromUtf8(row.name)));
        co_return;
    }
    if (!name.is(Input::Kind::text)) co_return;
    const auto value = variables.asText(name.text);
    if (!value) {
        context.show(u"There is no variable " + name.text + u".");
        co_return;
    }
    const Input typed = co_await context.ask(setvarTable[1], *value);
    if (!typed.is(Input::Kind::text)) co_return;
    if (!setTyped(variables, name.text, typed.text))
        context.show(name.text + u" does not take " + typed.text + u".");
}

CommandRun help(CommandContext& context) {
    const Input name = co_await context.ask(helpTable[0]);
    if (!name.is(Input::Kind::text)) {
        for (const CommandRow& row : commandRows())
            context.show(fromUtf8(row.name) + u"  " + fromUtf8(row.help));
        if (context.registered)
            for (const auto& [command, description] : context.registered())
                context.show(command + u"  " + description);
        co_return;
    }
    const CommandRow* row = findCommand(name.text);
    if (row == nullptr && context.registered) {
        for (const auto& [command, description] : context.registered())
            if (sameName(command, name.text)) {
                context.show(command + u": " + description);
                co_return;
            }
    }
    if (row == nullptr) {
        context.show(u"There is no command " + name.text + u".");
        co_return;
    }
    context.show(fromUtf8(row->name) +
                 (*row->alias != 0 ? u" (" + fromUtf8(row->alias) + u")" : u"") + u": " +
                 fromUtf8(row->help));
    for (const Step& step : row->steps) {
        std::u16string prompt = step.prompt;
        if (const std::size_t preset = prompt.find(u" <%>"); preset != std::u16string::npos)
            prompt.erase(preset, 4);
        context.show(u"  " + prompt);
    }
}

}  // namespace vlisp::refhost
