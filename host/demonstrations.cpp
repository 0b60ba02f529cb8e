// TestLine and LispPoly. See demonstrations.h.
#include "host/demonstrations.h"

#include "core/reader.h"
#include "host/host_calls.h"
#include "host/typed_text.h"

#include <vector>

namespace vlisp {
namespace {

// The polyline that is being drawn. On purpose: its vertices are kept and nobody reads them.
struct DrawnPolyline {
    HostId id = -1;
    std::vector<double> vertices;  // X and Y in turn
};

DrawnPolyline& drawn() {
    static DrawnPolyline polyline;
    return polyline;
}

constexpr int pointInput = 1;

void startPolyline() {
    drawn().vertices.clear();
    hostSetWorkingLayerAndLineType(u"", u"");
    HostObject* polyline = hostNewPolyline();
    hostAddPolyline(polyline);
    drawn().id = hostGetId(polyline);
    hostDeleteObject(polyline);
    hostAddObjectExtDataInt(drawn().id, u"Integer number", 45);
    hostAddObjectExtDataDouble(drawn().id, u"Real number", 45.763);
    hostAddObjectExtDataString(drawn().id, u"String", u"How are you?");
    hostSetUserInputMode(pointInput, false, 0.0, 0.0, 0.0);
    hostDisplayPromptMsg(u"Specify first point or [Cancel]: <Cancel> ");
}

// The point that answered the last prompt. False when there was none: the command ends.
bool nextPoint(double& x, double& y) {
    constexpr std::size_t lineCapacity = 255;
    if (hostGetInputType() != 0) {
        double z = 0;
        hostGetInputPoint(&x, &y, &z);
        return true;
    }
    const std::u16string line = textFromHost(lineCapacity, hostGetInputString);
    if (line.empty()) {
        hostDisplayMsg(u"Lisp polyline entered successfully.");
        return false;
    }
    const std::vector<std::u16string> numbers = SplitText(line, u",");
    if (numbers.size() < 2) {
        hostDisplayMsg(u"Error: wrong input!");
        return false;
    }
    x = realAtFront(numbers[0]);
    y = realAtFront(numbers[1]);
    return true;
}

}  // namespace

int addTestLine() {
    HostObject* line = hostNewLine();
    hostAddPoint(line, 25.34, 18.0, 0.0);
    hostAddPoint(line, 48.5, 27.5, 0.0);
    hostAddLine(line);
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
    hostDisplayPromptMsg(u"Specify next point or [Finish/Cancel/Undo]: <Finish> ");
    constexpr int append = -1;
    double x = 0;
    double y = 0;
    if (!nextPoint(x, y)) return 1;
    drawn().vertices.insert(drawn().vertices.end(), {x, y});
    hostUpdatePolyline(drawn().id, append, x, y);
    hostSetUserInputMode(pointInput, true, x, y, 0.0);
    ++step;
    return 1;
}

}  // namespace vlisp
