// Drawings for tests of pictures, and a reader of the SVG that comes out.
#pragma once

#include "refhost/model/drawing.h"
#include "refhost/model/file_part.h"
#include "refhost/plot/plot.h"

#include <cctype>
#include <map>
#include <memory>
#include <sstream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace vlisp::refhost::plot {

// --- Objects -------------------------------------------------------------------------------------

template <class Class> std::unique_ptr<FromFile<Class>> made(const std::vector<Point2>& points) {
    auto object = std::make_unique<FromFile<Class>>();
    for (const Point2 point : points) object->addPoint(mmPoint(point.x, point.y, 0));
    object->layerName.assign(u"0", 1);
    return object;
}

inline std::unique_ptr<FromFile<VmDbLine>> line(Point2 from, Point2 to) {
    return made<VmDbLine>({from, to});
}

inline std::unique_ptr<FromFile<VmDbCircle>> circle(Point2 centre, double radius) {
    auto object = made<VmDbCircle>({centre});
    object->radius = radius;
    return object;
}

/// Angles in degrees.
inline std::unique_ptr<FromFile<VmDbArc>> arc(Point2 centre, double radius, double start,
                                              double end) {
    auto object = made<VmDbArc>({centre});
    object->radius = radius;
    object->startAngle = start * 3.14159265358979323846 / 180;
    object->endAngle = end * 3.14159265358979323846 / 180;
    return object;
}

inline std::unique_ptr<FromFile<VmDb2DPolyline>> polyline(const std::vector<Point2>& points,
                                                          bool closed = false,
                                                          const std::vector<double>& bulges = {}) {
    auto object = made<VmDb2DPolyline>(points);
    object->closed = closed ? 1 : 0;
    for (const double bulge : bulges) object->addBulge(bulge);
    return object;
}

inline std::unique_ptr<FromFile<VmDbText>> text(Point2 at, double height,
                                                std::u16string_view letters, double rotation = 0) {
    auto object = made<VmDbText>({at});
    object->height = height;
    object->rotation = rotation;
    object->text.assign(letters.data(), letters.size());
    return object;
}

inline std::unique_ptr<FromFile<VmDbText>> paragraph(Point2 at, double height,
                                                     std::u16string_view letters) {
    auto object = text(at, height, letters);
    object->typeCode = vmDbMText;
    return object;
}

inline std::unique_ptr<FromFile<VmDbBlockRef>> insert(Point2 at, std::u16string_view name,
                                                      double xScale = 1, double yScale = 1,
                                                      double rotation = 0) {
    auto object = made<VmDbBlockRef>({at});
    object->blockName.assign(name.data(), name.size());
    object->xScale = xScale;
    object->yScale = yScale;
    object->rotation = rotation;
    return object;
}

inline std::unique_ptr<CarriedObject> carried(std::u16string_view kind, Path path,
                                              bool filled = false) {
    auto object = std::make_unique<CarriedObject>();
    object->layerName.assign(u"0", 1);
    object->kind = kind;
    object->isShown = true;
    object->figures.push_back({std::move(path), filled});
    return object;
}

template <class Object>
std::unique_ptr<Object> on(std::u16string_view layer, std::unique_ptr<Object> object) {
    object->layerName.assign(layer.data(), layer.size());
    return object;
}

template <class Object>
std::unique_ptr<Object> coloured(std::int32_t colour, std::unique_ptr<Object> object) {
    object->colour = colour;
    return object;
}

template <class... Objects> std::vector<std::unique_ptr<VmDbObject>> contents(Objects... objects) {
    std::vector<std::unique_ptr<VmDbObject>> all;
    (all.push_back(std::move(objects)), ...);
    return all;
}

// --- Pictures ------------------------------------------------------------------------------------

/// A sheet of 100 x 100 mm on which a drawing unit is a millimetre and the window 0..100 covers
/// all but the margin: the drawing's (x, y) is at (x, 100 - y) on paper.
inline Options millimetres() {
    Options options;
    options.paper = {100, 100, false};
    options.window = Box{0, 0, 100, 100};
    options.scale = 1;
    return options;
}

inline std::string svg(const Drawing& drawing, const Options& options = millimetres()) {
    return draw(drawing, options).bytes;
}

/// An element of an XML document: only what the pictures use is understood.
struct Element {
    std::string tag;
    std::map<std::string, std::string> attributes;
    std::string text;
    std::vector<std::unique_ptr<Element>> children;

    [[nodiscard]] std::string at(const std::string& name) const {
        const auto found = attributes.find(name);
        return found == attributes.end() ? "(none)" : found->second;
    }
    /// The first element, this one or below, for which the attribute has the value.
    [[nodiscard]] const Element* find(const std::string& name, const std::string& value) const {
        if (at(name) == value) return this;
        for (const auto& child : children)
            if (const Element* found = child->find(name, value)) return found;
        return nullptr;
    }
    [[nodiscard]] std::size_t count(const std::string& wanted) const {
        std::size_t sum = tag == wanted ? 1 : 0;
        for (const auto& child : children) sum += child->count(wanted);
        return sum;
    }
};

/// Reads a document strictly; null, with the place in `error`, when it is not well formed.
class XmlReader {
  public:
    explicit XmlReader(std::string_view text) : text_(text) {}

    std::unique_ptr<Element> read(std::string& error) {
        auto root = element();
        blanks();
        if (root == nullptr || here_ != text_.size()) {
            error = "not well formed at: " + std::string(text_.substr(here_, 60));
            return nullptr;
        }
        return root;
    }

  private:
    std::unique_ptr<Element> element() {
        blanks();
        if (!take("<")) return nullptr;
        auto made = std::make_unique<Element>();
        made->tag = name();
        if (made->tag.empty()) return nullptr;
        while (blanks()) {
            const std::string attribute = name();
            if (attribute.empty()) break;
            std::string value;
            if (!take("=\"") || !until('"', value) || !take("\"")) return nullptr;
            if (!made->attributes.emplace(attribute, value).second) return nullptr;
        }
        if (take("/>")) return made;
        if (!take(">")) return nullptr;
        while (true) {
            std::string letters;
            if (!until('<', letters)) return nullptr;
            made->text += letters;
            if (take("</")) return name() == made->tag && take(">") ? std::move(made) : nullptr;
            auto child = element();
            if (child == nullptr) return nullptr;
            made->children.push_back(std::move(child));
        }
    }

    bool blanks() {
        const std::size_t before = here_;
        while (here_ < text_.size() && std::isspace(static_cast<unsigned char>(text_[here_])) != 0)
            ++here_;
        return here_ > before;
    }
    std::string name() {
        const std::size_t begin = here_;
        while (here_ < text_.size() &&
               (std::isalnum(static_cast<unsigned char>(text_[here_])) != 0 ||
                text_[here_] == '-' || text_[here_] == ':'))
            ++here_;
        return std::string(text_.substr(begin, here_ - begin));
    }
    bool take(std::string_view expected) {
        if (text_.substr(here_, expected.size()) != expected) return false;
        here_ += expected.size();
        return true;
    }
    bool until(char end, std::string& value) {
        static const std::map<std::string, char> entities{
            {"&amp;", '&'}, {"&lt;", '<'}, {"&gt;", '>'}, {"&quot;", '"'}};
        for (; here_ < text_.size() && text_[here_] != end; ++here_) {
            const char byte = text_[here_];
            const auto code = static_cast<unsigned char>(byte);
            if (byte == '<' || (code < 0x20 && std::isspace(code) == 0)) return false;
            if (byte != '&') {
                value += byte;
                continue;
            }
            const std::size_t last = text_.find(';', here_);
            const auto entity = entities.find(std::string(text_.substr(here_, last + 1 - here_)));
            if (entity == entities.end()) return false;
            value += entity->second;
            here_ = last;
        }
        return here_ < text_.size();
    }

    std::string_view text_;
    std::size_t here_ = 0;
};

inline std::unique_ptr<Element> parsed(const std::string& document) {
    std::string error;
    auto root = XmlReader(document).read(error);
    if (root == nullptr) {
        root = std::make_unique<Element>();
        root->tag = error;
    }
    return root;
}

/// The element of an object in the SVG of the drawing; an empty one when it is not there.
inline Element* elementOf(const Element& root, HostLong id) {
    static Element none;
    std::ostringstream handle;
    handle << std::uppercase << std::hex << id;
    const Element* found = root.find("data-handle", handle.str());
    return found == nullptr ? &none : const_cast<Element*>(found);
}

}  // namespace vlisp::refhost::plot
