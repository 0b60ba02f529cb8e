// TestLine and LispPoly. See demonstrations.h.
#include "host/demonstrations.h"

#include "core/reader.h"
#include "host/bridge.h"
#include "host/typed_text.h"

#include <vector>

namespace vlisp {
namespace {

// The polyline that is being drawn. On purpose: its vertices are kept and nobody reads them.
struct DrawnPolyline {
    HostLong id = -1;
    std::vector<double> vertices;  // X and Y in turn
};

DrawnPolyline& drawn() {
    static DrawnPolyline polyline;
    return polyline;
}

constexpr int pointInput = 1;

void startPolyline() {
    drawn().vertices.clear();
    int result = 0;
    setWorkingLayerAndLineType(u"", u"", result);
    auto* polyline = new VmDb2DPolyline;
    addPolyline(polyline, -1);
    drawn().id = polyline->id;
    delete polyline;
    addObjectExtDataInt(drawn().id, u"Integer number", 45, true);
    addObjectExtDataDouble(drawn().id, u"Real number", 45.763, true);
    addObjectExtDataString(drawn().id, u"String", u"How are you?", true);
    SetUserInputMode(pointInput, false, 0.0, 0.0, 0.0);
    DisplayPromptMsg(u"Specify first point or [Cancel]: <Cancel> ");
}

// The point that answered the last prompt. False when there was none: the command ends.
bool nextPoint(double& x, double& y) {
    constexpr std::size_t lineCapacity = 255;
    int type = 0;
    GetInputType(type);
    if (type != 0) {
        double z = 0;
        GetInputPoint(x, y, z);
        return true;
    }
    const std::u16string line = textFromHost(lineCapacity, GetInputString);
    if (line.empty()) {
        DisplayMsg(u"Lisp polyline entered successfully.");
        return false;
    }
    const std::vector<std::u16string> numbers = SplitText(line, u",");
    if (numbers.size() < 2) {
        DisplayMsg(u"Error: wrong input!");
        return false;
    }
    x = realAtFront(numbers[0]);
    y = realAtFront(numbers[1]);
    return true;
}

}  // namespace

int addTestLine() {
    auto* line = new VmDbLine;
    line->addPoint(mmPoint(25.34, 18.0, 0.0));
    line->addPoint(mmPoint(48.5, 27.5, 0.0));
    addLine(line, -1);
    // On purpose: the object is left to the host.
    return 1;
}

int drawPolyline(int& step) {
    if (step == 1) {
        startPolyline();
        ++step;
        return 1;
    }
    // On purpose: the next prompt comes before the answer to the last one is looked at.
    DisplayPromptMsg(u"Specify next point or [Finish/Cancel/Undo]: <Finish> ");
    constexpr int append = -1;
    double x = 0;
    double y = 0;
    if (!nextPoint(x, y)) return 1;
    drawn().vertices.insert(drawn().vertices.end(), {x, y});
    updatePolyline(drawn().id, append, x, y);
    SetUserInputMode(pointInput, true, x, y, 0.0);
    ++step;
    return 1;
}

}  // namespace vlisp
