#!/usr/bin/python3
"""Writes a folder of drawing files, good and damaged ones, and an index of what is expected.

    make_corpus.py FOLDER [--large]

One idea: the drawings come from a writer that is not ours, and from plain text where that writer
would not write such a thing. The same program writes the same bytes whenever it runs.
index.json holds one line a file: name, version, form, expected ("good", "either", "damaged"), and
for good files what the writer's own reader counts in model space.
"""
import argparse
import collections
import io
import json
import logging
import math
import os
import random
import re
import struct
import sys

import ezdxf
from ezdxf.lldxf.const import DXFError
from ezdxf.render import mleader

sys.dont_write_bytecode = True  # nothing is written beside the sources
import dxf_pairs  # noqa: E402

VERSIONS = ("R12", "R2000", "R2004", "R2007", "R2010", "R2013", "R2018")
GUID = "{00000000-0000-0000-0000-000000000000}"
ezdxf.options.write_fixed_meta_data_for_testing = True
logging.disable(logging.CRITICAL)


# --- The folder ---

class Corpus:
    def __init__(self, folder):
        self.folder = folder
        self.index = []
        self.names = set()
        os.makedirs(folder, exist_ok=True)

    def path(self, name):
        return os.path.join(self.folder, name)

    def write(self, name, data, expected="good", version="", **more):
        """Writes a file and its line of the index. `more` may hold `ezdxf: False` where the
        writer's reader cannot read what is legal, `audit: False`, `texts: False`."""
        assert name not in self.names, name
        self.names.add(name)
        with open(self.path(name), "wb") as file:
            file.write(data)
        entry = {"name": name, "version": version, "expected": expected,
                 "form": "binary" if dxf_pairs.is_binary(data) else "ascii"}
        entry.update(more)
        if expected == "good" and more.get("ezdxf", True) and "counts" not in more:
            entry["counts"] = counts_by_reader(self.path(name))
            # The reader joins texts in columns, which older versions write as several.
            found = counts_by_pairs(data)
            if found != entry["counts"]:
                entry["countsInFile"] = found
        self.index.append(entry)
        return entry

    def forms(self, name, version, doc, **more):
        """The same drawing with LF, with CRLF, and in the binary form."""
        data = ascii_bytes(doc)
        entry = self.write(name + ".dxf", data, version=version, **more)
        counts = {key: entry[key] for key in ("counts", "countsInFile") if key in entry}
        self.write(name + "-crlf.dxf", data.replace(b"\n", b"\r\n"), version=version,
                   **{**more, **counts})
        self.write(name + "-binary.dxf", binary_bytes(doc), version=version, **more)

    def finish(self):
        with open(self.path("index.json"), "w", encoding="utf-8") as file:
            file.write("[\n")
            file.write(",\n".join(json.dumps(entry, sort_keys=True) for entry in self.index))
            file.write("\n]\n")


def counts_by_reader(path):
    doc = ezdxf.readfile(path)
    return dict(collections.Counter(entity.dxftype() for entity in doc.modelspace()))


def counts_by_pairs(data):
    pairs, _ = dxf_pairs.parse(data)
    return dict(collections.Counter(entity.kind for entity in dxf_pairs.entities(pairs)))


def ascii_bytes(doc):
    stream = io.StringIO()
    doc.write(stream)
    return doc.encode(stream.getvalue())


def binary_bytes(doc):
    stream = io.BytesIO()
    doc.write(stream, fmt="bin")
    return stream.getvalue()


def tag(code, value):
    return ("%3d\n%s\n" % (code, value)).encode("utf-8")


# --- One function a kind of entity ---

def point(doc, msp):
    msp.add_point((1, 2, 3))
    msp.add_point((-1e6, 2e-6, 0), dxfattribs={"thickness": 2, "color": 3})


def line(doc, msp):
    msp.add_line((0, 0), (10, 5))
    msp.add_line((1.25, -2.5, 3), (1 / 3, 2 / 3, -1e-9), dxfattribs={"layer": "DETAIL"})
    msp.add_line((1e6, 1e6), (1e6 + 0.1, 1e6 + 0.2), dxfattribs={"color": 1, "ltscale": 0.5})


def circle(doc, msp):
    msp.add_circle((0, 0), 2.5)
    msp.add_circle((10, 20, 0), 1 / 3, dxfattribs={"layer": "DETAIL", "color": 0})
    msp.add_circle((-7.125, 0), 1000, dxfattribs={"thickness": 5, "linetype": "BYBLOCK"})


def arc(doc, msp):
    msp.add_arc((0, 0), 5, 0, 90)
    msp.add_arc((3, 4), 2.5, 350.5, 10.25, dxfattribs={"layer": "DETAIL"})
    msp.add_arc((3, 4), 1, 33.333333333333336, 123.4567, dxfattribs={"color": 5})


def ellipse(doc, msp):
    msp.add_ellipse((0, 0), (4, 1), 0.5)
    msp.add_ellipse((5, 5, 1), (0, 3), 0.25, 0.5, 4)


def solid(doc, msp):
    msp.add_solid([(0, 0), (4, 0), (0, 3), (4, 3)])


def trace(doc, msp):
    msp.add_trace([(0, 0), (4, 0), (0, 3), (4, 3)], dxfattribs={"color": 2})


def face3d(doc, msp):
    msp.add_3dface([(0, 0, 0), (4, 0, 1), (4, 4, 2), (0, 4, 3)], dxfattribs={"invisible": 5})


def text(doc, msp):
    msp.add_text("Plain text", dxfattribs={"height": 2.5}).set_pos((1, 2))
    msp.add_text("  blanks around  ", dxfattribs={"height": 1, "rotation": 30}).set_pos((5, 5))
    msp.add_text("100%%d %%c20 %%p0.1 %%uunder%%u", dxfattribs={"layer": "DETAIL"}).set_pos((0, 9))
    for i, align in enumerate(("LEFT", "CENTER", "RIGHT", "MIDDLE", "BOTTOM_LEFT", "BOTTOM_CENTER",
                               "BOTTOM_RIGHT", "MIDDLE_LEFT", "MIDDLE_CENTER", "MIDDLE_RIGHT",
                               "TOP_LEFT", "TOP_CENTER", "TOP_RIGHT")):
        msp.add_text("Alignment " + align, dxfattribs={"height": 2}).set_pos((50, 5.0 * i),
                                                                           align=align)
    for i, align in enumerate(("ALIGNED", "FIT")):
        msp.add_text("Between " + align, dxfattribs={"height": 2}).set_pos((90, 5.0 * i),
                                                                         (120, 5.0 * i), align)
    msp.add_text("", dxfattribs={"height": 1}).set_pos((0, 0))


def mtext(doc, msp):
    msp.add_mtext("Short", dxfattribs={"char_height": 2.5, "insert": (1, 2)})
    words = " ".join("word%d" % i for i in range(200))
    msp.add_mtext("Long: " + words, dxfattribs={"char_height": 1, "insert": (0, 50), "width": 60})
    msp.add_mtext("x" * 250, dxfattribs={"char_height": 1})
    msp.add_mtext("y" * 251, dxfattribs={"char_height": 1})
    msp.add_mtext(r"{\fArial|b1|i0;Bold\P\C1;red \H2x;tall\S1/2;} \~ \\ \{brace\} \A1;",
                  dxfattribs={"rotation": 45, "layer": "DETAIL", "attachment_point": 5})
    msp.add_mtext("turned", dxfattribs={"text_direction": (0, 1, 0), "char_height": 3})


def mtext_columns(doc, msp):
    msp.add_mtext_static_columns(["Column one", "Column two", "Column three"], 20, 2, 30)


def insert(doc, msp):
    block = doc.blocks.new("PLAIN")
    block.add_line((0, 0), (1, 1))
    block.add_circle((0, 0), 0.5, dxfattribs={"layer": "0", "color": 0})
    msp.add_blockref("PLAIN", (5, 5))
    msp.add_blockref("PLAIN", (15, 5), dxfattribs={"xscale": 2, "yscale": -2, "rotation": 30})
    msp.add_blockref("PLAIN", (25, 5), dxfattribs={"layer": "DETAIL", "color": 3})


def insert_grid(doc, msp):
    doc.blocks.new("CELL").add_point((0, 0))
    msp.add_blockref("CELL", (0, 0), dxfattribs={
        "row_count": 3, "column_count": 4, "row_spacing": 10, "column_spacing": 12.5,
        "rotation": 15})


def insert_nested(doc, msp):
    inner = doc.blocks.new("INNER", base_point=(1, 1))
    inner.add_circle((0, 0), 1)
    middle = doc.blocks.new("MIDDLE")
    middle.add_blockref("INNER", (2, 0), dxfattribs={"rotation": 90})
    middle.add_arc((0, 0), 1, 0, 180)
    outer = doc.blocks.new("OUTER")
    outer.add_blockref("MIDDLE", (0, 3), dxfattribs={"xscale": 2, "yscale": 2})
    outer.add_text("in a block", dxfattribs={"height": 1})
    msp.add_blockref("OUTER", (10, 10))
    msp.add_blockref("INNER", (0, 0))


def insert_attribs(doc, msp):
    block = doc.blocks.new("TAGGED")
    block.add_circle((0, 0), 1)
    block.add_attdef("NUMBER", (0, 0), "1", dxfattribs={"height": 1, "prompt": "Number?"})
    block.add_attdef("NOTE", (0, -2), dxfattribs={"height": 1, "flags": 1})
    for i in range(3):
        ref = msp.add_blockref("TAGGED", (10.0 * i, 0), dxfattribs={"rotation": 10.0 * i})
        ref.add_auto_attribs({"NUMBER": str(i), "NOTE": "note %d" % i})


def attdef(doc, msp):
    msp.add_attdef("LOOSE", (1, 1), "value", dxfattribs={"height": 2})


def lwpolyline(doc, msp):
    msp.add_lwpolyline([(0, 0), (10, 0), (10, 10)])
    msp.add_lwpolyline([(0, 0), (10, 0, 0, 0, 1), (10, 10), (0, 10, 0, 0, -0.5)], close=True)
    msp.add_lwpolyline([(0, 0, 1, 2), (5, 5, 0.5, 0.5), (9, 5)], dxfattribs={
        "layer": "DETAIL", "color": 6})
    msp.add_lwpolyline([(0, 0), (7, 7)], dxfattribs={"const_width": 0.5, "elevation": 3})
    msp.add_lwpolyline([(i, i * i % 17) for i in range(300)])


def polyline2d(doc, msp):
    msp.add_polyline2d([(0, 0), (10, 0), (10, 10)])
    msp.add_polyline2d([(0, 0, 0), (10, 0, 1), (10, 10, 0)], format="xyb", close=True,
                       dxfattribs={"layer": "DETAIL", "color": 4})


def polyline3d(doc, msp):
    msp.add_polyline3d([(0, 0, 0), (10, 0, 5), (10, 10, 2.5)])
    msp.add_polyline3d([(0, 0, 1), (3, 0, 2), (3, 3, 3)], close=True)


def polymesh(doc, msp):
    mesh = msp.add_polymesh((4, 3))
    for m in range(4):
        for n in range(3):
            mesh.set_mesh_vertex((m, n), (m, n, math.sin(m + n)))


def polyface(doc, msp):
    face = msp.add_polyface()
    face.append_faces([[(0, 0, 0), (5, 0, 0), (5, 5, 0), (0, 5, 0)],
                       [(0, 0, 0), (5, 0, 0), (2, 2, 4)]])


def spline(doc, msp):
    msp.add_spline([(0, 0), (3, 5), (6, 2), (9, 9)])
    msp.add_open_spline([(0, 0, 0), (3, 5, 1), (6, 2, 2), (9, 9, 3)])
    msp.add_rational_spline([(0, 0), (3, 5), (6, 2), (9, 9)], [1, 2, 1, 1])


def hatch(doc, msp):
    solid_hatch = msp.add_hatch(color=2)
    solid_hatch.paths.add_polyline_path([(0, 0), (10, 0), (10, 10, 0.5), (0, 10)], is_closed=True)
    pattern = msp.add_hatch(dxfattribs={"layer": "DETAIL"})
    pattern.set_pattern_fill("ANSI31", scale=0.5)
    path = pattern.paths.add_edge_path()
    path.add_line((20, 0), (30, 0))
    path.add_arc((25, 0), 5, 0, 180)
    holes = msp.add_hatch(color=5)
    holes.paths.add_polyline_path([(40, 0), (60, 0), (60, 20), (40, 20)], flags=1)
    holes.paths.add_edge_path(flags=16).add_ellipse((50, 10), (5, 0), 0.5, 0, 360)


def hatch_gradient(doc, msp):
    fill = msp.add_hatch()
    fill.paths.add_polyline_path([(0, 0), (10, 0), (10, 10)], is_closed=True)
    fill.set_gradient((255, 0, 0), (0, 0, 255), rotation=30)


def mpolygon(doc, msp):
    polygon = msp.add_mpolygon(color=1, fill_color=5)
    polygon.paths.add_polyline_path([(0, 0), (10, 0), (10, 10)], is_closed=True)


def mesh(doc, msp):
    with msp.add_mesh().edit_data() as data:
        data.vertices = [(0, 0, 0), (1, 0, 0), (1, 1, 0), (0, 1, 0), (0.5, 0.5, 1)]
        data.faces = [(0, 1, 2, 3), (0, 1, 4), (1, 2, 4), (2, 3, 4), (3, 0, 4)]


def leader(doc, msp):
    msp.add_leader([(0, 0), (5, 5), (10, 5)])


def multileader(doc, msp):
    builder = msp.add_multileader_mtext("Standard")
    builder.set_content("Multi-leader\ntext")
    builder.add_leader_line(mleader.ConnectionSide.left, [(-20, -5), (-10, 5)])
    builder.build(insert=ezdxf.math.Vec2(5, 0))


def mline(doc, msp):
    msp.add_mline([(0, 0), (10, 0), (10, 10)], close=True)


def dimensions(doc, msp):
    msp.add_linear_dim(base=(0, 5), p1=(0, 0), p2=(10, 0), dimstyle="Standard").render()
    msp.add_aligned_dim(p1=(0, 20), p2=(10, 25), distance=2, dimstyle="Standard").render()
    msp.add_radius_dim((30, 0), radius=3, angle=45, dimstyle="Standard").render()
    msp.add_diameter_dim((40, 0), radius=3, angle=30, dimstyle="Standard").render()
    msp.add_angular_dim_3p((50, 10), (50, 0), (60, 0), (50, 8), dimstyle="Standard").render()
    msp.add_ordinate_x_dim((70, 3), (1, 5), dimstyle="Standard").render()


def angular_dimension(doc, msp):
    msp.add_angular_dim_2l(base=(0, 8), line1=((-2, 2), (-4, 6)), line2=((2, 2), (4, 6)),
                           dimstyle="Standard").render()


def arc_dimension(doc, msp):
    msp.add_arc_dim_cra((0, 0), 5, 30, 120, 2, dimstyle="Standard").render()


def shape(doc, msp):
    doc.styles.add_shx("shapes.shx")
    msp.add_shape("BOX", (3, 3), size=2)


def image(doc, msp):
    definition = doc.add_image_def("picture.png", (640, 360), "PICTURE")
    msp.add_image(definition, (2, 1), (6.4, 3.6), rotation=30)


def wipeout(doc, msp):
    msp.add_wipeout([(0, 0), (10, 10)])


def underlays(doc, msp):
    for extension in ("pdf", "dwf", "dgn"):
        definition = doc.add_underlay_def("sheet." + extension, fmt=extension)
        msp.add_underlay(definition, (2, 1, 0), (1, 1, 1), 15)


def ray(doc, msp):
    msp.add_ray((1, 2), (1, 1))


def xline(doc, msp):
    msp.add_xline((1, 2), (0, 1))


SAT = ["400 0 1 0 ", "10 nobody 8 ACIS 4.00 24 Sat Jan 01 00:00:00 2000 ", "1 1e-06 1e-10 ",
       "body $-1 $-1 $-1 $-1 #", "End-of-ACIS-data "]


def _acis(name):
    def kind(doc, msp):
        modern = doc.dxfversion >= "AC1027"
        body = getattr(msp, "add_" + name)({"uid": GUID} if modern else {})
        if modern:
            body.sab = b"ACIS BinaryFile" + bytes(range(64))
        else:
            body.sat = SAT

    kind.__name__ = name
    return kind


SOLIDS = tuple(_acis(name) for name in (
    "body", "region", "3dsolid", "surface", "extruded_surface", "lofted_surface",
    "revolved_surface", "swept_surface"))


def helix(doc, msp):
    msp.add_helix(2, 1, 3)


def tolerance(doc, msp):
    msp.new_entity("TOLERANCE", {"insert": (1, 1), "content": r"{\Fgdt;j}%%v{\Fgdt;n}0.1"})


def light(doc, msp):
    msp.new_entity("LIGHT", {"name": "LAMP", "location": (1, 2, 3), "target": (0, 0, 0)})


def viewport(doc, msp):
    doc.layout("Layout1").add_viewport((5, 5), (10, 10), (0, 0), 20)
    msp.add_line((0, 0), (1, 0))


def extruded(doc, msp):
    down = {"extrusion": (0, 0, -1)}
    msp.add_circle((5, 5), 2, dxfattribs=down)
    msp.add_arc((5, 5), 2, 30, 60, dxfattribs=down)
    msp.add_text("mirrored", dxfattribs={**down, "height": 1}).set_pos((2, 2))
    msp.add_polyline2d([(0, 0), (1, 1), (2, 0)], dxfattribs=down)
    doc.blocks.new("TURNED").add_line((0, 0), (1, 0))
    msp.add_blockref("TURNED", (3, 3), dxfattribs=down)
    msp.add_circle((1, 1, 4), 2, dxfattribs={"extrusion": (0.6, 0, 0.8)})
    if doc.dxfversion > "AC1009":
        msp.add_lwpolyline([(0, 0), (1, 0, 0, 0, 1), (2, 2)], dxfattribs=down)


def xdata(doc, msp):
    doc.appids.new("TESTAPP")
    circle_with_data = msp.add_circle((1, 1), 2)
    circle_with_data.set_xdata("TESTAPP", [
        (1000, "a string"), (1002, "{"), (1010, (1.5, 2.5, 3.5)), (1040, 2.25), (1070, 7),
        (1071, 70000), (1002, "}"), (1003, "0"), (1005, "0"), (1004, b"\x01\x02\xff")])
    msp.add_text("with data", dxfattribs={"height": 1}).set_xdata(
        "TESTAPP", [(1000, "1"), (1040, 8)])
    msp.add_line((0, 0), (1, 1)).set_xdata("TESTAPP", [(1000, "x" * 255)])


def extension_dictionary(doc, msp):
    item = msp.add_circle((0, 0), 3)
    item.new_extension_dict().add_dictionary_var("NOTE", "a remark")
    item.set_app_data("TESTAPP", [(1, "data in braces"), (40, 2.5)])


def groups(doc, msp):
    members = [msp.add_line((0, 0), (1, i)) for i in range(3)] + [msp.add_circle((0, 0), 1)]
    with doc.groups.new("PAIR", "two lines").edit_data() as data:
        data.extend(members[:2])
    with doc.groups.new("REST").edit_data() as data:
        data.extend(members[1:])


def layers(doc, msp):
    for name, attribs in (("OFF", {"color": 1}), ("FROZEN", {"color": 2}), ("LOCKED", {"color": 3}),
                          ("RED", {"color": 1}), ("Mixed Case and blanks", {"color": 250})):
        doc.layers.add(name, **attribs)
        msp.add_circle((0, 0), 2, dxfattribs={"layer": name})
        msp.add_line((0, 0), (2, 2), dxfattribs={"layer": name, "color": 30})
    doc.layers.get("OFF").off()
    doc.layers.get("FROZEN").freeze()
    doc.layers.get("LOCKED").lock()
    msp.add_circle((9, 9), 1, dxfattribs={"layer": "not in the table"})
    msp.add_point((0, 0), dxfattribs={"invisible": 1})


def styles(doc, msp):
    doc.styles.add("NARROW", font="arial.ttf", )
    doc.styles.get("NARROW").dxf.width = 0.5
    doc.linetypes.add("CUSTOM", [0.2, 0.1, -0.1])
    doc.dimstyles.duplicate_entry("Standard", "SMALL")
    msp.add_text("narrow", dxfattribs={"style": "NARROW", "width": 0.8, "oblique": 15,
                                       "height": 2, "text_generation_flag": 2})
    msp.add_line((0, 0), (5, 0), dxfattribs={"linetype": "CUSTOM", "lineweight": 50})
    msp.add_circle((0, 0), 5, dxfattribs={"lineweight": 25, "true_color": 0x123456,
                                          "transparency": 0x0200007F, "color": 7})


def paper_space(doc, msp):
    msp.add_circle((0, 0), 1)
    psp = doc.layout("Layout1")
    psp.add_circle((1, 1), 2)
    psp.add_text("on paper", dxfattribs={"height": 1})
    psp.add_lwpolyline([(0, 0), (1, 1)]) if doc.dxfversion > "AC1009" else psp.add_point((1, 2))
    msp.add_line((0, 0), (1, 0))
    if doc.dxfversion > "AC1009":
        for name in ("Sheet 2", "Sheet 3"):
            doc.layouts.new(name).add_line((0, 0), (5, 5))


def empty(doc, msp):
    pass


KINDS = (
    point, line, circle, arc, ellipse, solid, trace, face3d, text, mtext, mtext_columns, insert,
    insert_grid, insert_nested, insert_attribs, attdef, lwpolyline, polyline2d, polyline3d,
    polymesh, polyface, spline, hatch, hatch_gradient, mpolygon,
    mesh, leader, multileader, mline, dimensions,
    angular_dimension, arc_dimension, shape, image, wipeout, underlays, ray, xline, *SOLIDS, helix,
    tolerance, light, viewport, extruded, xdata, extension_dictionary, groups, layers, styles,
    paper_space, empty,
)


def new_drawing(version, kinds=(), encoding=None):
    doc = ezdxf.new(version)
    if encoding:
        doc.encoding = encoding
    doc.layers.add("DETAIL", color=4)
    for kind in kinds:
        kind(doc, doc.modelspace())
    return doc


def supported_kinds(version):
    """The kinds that the version has: the writer refuses the others, or leaves them out."""
    found = []
    for kind in KINDS:
        try:
            doc = new_drawing(version, [kind])
            before = len(doc.modelspace())
            stream = io.StringIO()
            doc.write(stream)
            stream.seek(0)
            if len(ezdxf.read(stream).modelspace()) == before:
                found.append(kind)
        except DXFError:
            pass
    return found


# --- Texts in many scripts ---

SAMPLES = (
    ("latin", "Grüße, façade, Ærø £5 ½"),
    ("cyrillic", "Привет, чертёж"),
    ("japanese", "図面の表示ソフト能"),
    ("mixed", "Größe 寸法 размер 5€"),
    ("emoji", "smile \U0001F600 and \U0001F4D0"),
    ("trail bytes", "ソU+0041 表\\P十"),
    ("backslashes", r"C:\Users\unit \u+0041 \M+Z \U+12"),
)


def escaped(string, encoding):
    """With escapes for what the code page lacks: one for each unit of UTF-16."""
    out = []
    for character in string:
        try:
            character.encode(encoding)
            out.append(character)
        except UnicodeEncodeError:
            raw = character.encode("utf-16-be")
            units = struct.unpack(">%dH" % (len(raw) // 2), raw)
            out.extend("\\U+%04X" % unit for unit in units)
    return "".join(out)


def add_texts(doc, encoding):
    msp = doc.modelspace()
    for i, (name, sample) in enumerate(SAMPLES):
        # The writer refuses names with escapes in them.
        layer = sample if escaped(sample, encoding) == sample and i < 3 else name
        doc.layers.add(layer)
        msp.add_text(escaped(sample, encoding),
                     dxfattribs={"height": 2, "layer": layer}).set_pos((0, 5.0 * i))
        if doc.dxfversion > "AC1009":
            msp.add_mtext(escaped(sample, encoding) * 40, dxfattribs={"char_height": 2})
    block = next(name for name in ("Тест ブロック", "Блок", "ソ表", "Bloc né")
                 if escaped(name, encoding) == name)
    doc.blocks.new(block).add_circle((0, 0), 1)
    msp.add_blockref(block, (5, 5))


def make_texts(corpus):
    for version in VERSIONS:
        pages = ("cp1252", "cp1251", "cp932", "gbk") if version in ("R12", "R2000", "R2004") else (
            "utf-8",)
        for encoding in pages:
            doc = new_drawing(version, encoding=encoding if encoding != "utf-8" else None)
            add_texts(doc, encoding)
            name = "%s-texts-%s" % (version.lower(), encoding)
            if encoding in ("cp1252", "cp932", "utf-8"):
                corpus.forms(name, version, doc)
            else:
                corpus.write(name + ".dxf", ascii_bytes(doc), version=version)
    doc = new_drawing("R2010")
    doc.modelspace().add_text(r"\U+0416\U+D83D\U+DE00 and \U+00e9 and \M+182A0\M+5B0A1 end")
    corpus.write("r2010-escapes.dxf", ascii_bytes(doc), version="R2010")
    doc = new_drawing("R2000", [insert])
    doc.layers.add("ESC-LAYER")
    doc.modelspace().add_circle((0, 0), 1, dxfattribs={"layer": "ESC-LAYER"})
    data = ascii_bytes(doc).replace(b"ESC-LAYER", b"\\U+0416 layer").replace(b"PLAIN", b"\\U+0411")
    corpus.write("r2000-escapes-in-names.dxf", data, version="R2000", audit=False)
    for page, raw in (("ANSI_1252", bytes(range(0xA0, 0x100)) + b"\x80\x99"),
                      ("dos850", bytes(range(0x80, 0x100))),
                      ("ANSI_1250", bytes(range(0xA0, 0x100)))):
        data = r12_file([r12_text(1, b"@RAW@"),
                         r12_text(2, b"\\M+182A0\\M+28140 \\M+3B0A1 \\M+1B1"),
                         r12_text(3, b"\\U+0416 \\U+00e9\\U+65E5")], header=[
                             (9, "$ACADVER"), (1, "AC1009"), (9, "$DWGCODEPAGE"), (3, page)])
        corpus.write("r12-raw-%s.dxf" % page.lower(), data.replace(b"@RAW@", raw), version="R12",
                     **({"ezdxfTexts": False} if page == "dos850" else {}))
    bad = r12_file([r12_text(1, b"\x81\x8d\xff\xfe"), r12_text(2, b"ok")],
                   header=[(9, "$DWGCODEPAGE"), (3, "ANSI_932")])
    corpus.write("r12-raw-not-decodable.dxf", bad, version="R12", texts=False)
    doc = new_drawing("R2018")
    doc.modelspace().add_text("@RAW@", dxfattribs={"layer": "DETAIL"})
    data = ascii_bytes(doc).replace(b"@RAW@", b"caf\xe9 \xf0\x9f\x98 \xc0\xaf")
    corpus.write("r2018-not-utf8.dxf", data, version="R2018", texts=False, ezdxf=False)
    doc = new_drawing("R2018")
    doc.modelspace().add_text("signed")
    corpus.write("r2018-byte-order-mark.dxf", b"\xef\xbb\xbf" + ascii_bytes(doc), version="R2018",
                 ezdxf=False)


# --- Files of plain text, in the manner of release 12 ---

def r12_line(x, layer="0"):
    return b"".join([tag(0, "LINE"), tag(8, layer), tag(10, float(x)), tag(20, 0.0),
                     tag(11, x + 1.5), tag(21, 2.25)])


def r12_circle(x, radius=2.5, layer="0"):
    return b"".join([tag(0, "CIRCLE"), tag(8, layer), tag(10, float(x)), tag(20, 1.0), tag(30, 0.0),
                     tag(40, radius)])


def r12_text(x, value):
    return b"".join([tag(0, "TEXT"), tag(8, "0"), tag(10, float(x)), tag(20, 1.0), tag(40, 2.5),
                     b"  1\n", value, b"\n"])


def r12_polyline(closed=True, seqend=True):
    parts = [tag(0, "POLYLINE"), tag(8, "0"), tag(66, 1), tag(70, 1 if closed else 0)]
    for x, y in ((0, 0), (4, 0), (4, 3)):
        parts += [tag(0, "VERTEX"), tag(8, "0"), tag(10, float(x)), tag(20, float(y))]
    if seqend:
        parts += [tag(0, "SEQEND"), tag(8, "0")]
    return b"".join(parts)


def r12_insert(name):
    return b"".join([tag(0, "INSERT"), tag(8, "0"), tag(2, name), tag(10, 1.0), tag(20, 2.0)])


def r12_block(name, content):
    return b"".join([tag(0, "BLOCK"), tag(8, "0"), tag(2, name), tag(70, 0), tag(10, 0.0),
                     tag(20, 0.0), tag(30, 0.0), tag(3, name), content, tag(0, "ENDBLK"),
                     tag(8, "0")])


def section(name, content):
    return tag(0, "SECTION") + tag(2, name) + content + tag(0, "ENDSEC")


def r12_file(entities, header=None, blocks=None, end=True):
    parts = []
    if header is not None:
        parts.append(section("HEADER", b"".join(tag(code, value) for code, value in header)))
    if blocks is not None:
        parts.append(section("BLOCKS", b"".join(blocks)))
    parts.append(section("ENTITIES", b"".join(entities)))
    return b"".join(parts) + (tag(0, "EOF") if end else b"")


def without_section(data, name):
    pairs, rest = dxf_pairs.parse(data)
    skipped = {(r.begin, r.end) for r in dxf_pairs.records(pairs) if r.section == name}
    keep = [p.raw for i, p in enumerate(pairs) if not any(b <= i < e for b, e in skipped)]
    # The record ENDSEC of the section belongs to it.
    return b"".join(keep) + rest


def map_pairs(data, change):
    """Every pair of an ASCII file through `change(pair, record)`, which gives bytes."""
    pairs, rest = dxf_pairs.parse(data)
    owner = {}
    for record in dxf_pairs.records(pairs):
        for i in range(record.begin, record.end):
            owner[i] = record
    return b"".join(change(pair, owner.get(i)) for i, pair in enumerate(pairs)) + rest


def number_styles(data):
    """Coordinates in every way of writing the same number."""
    count = [0]

    def change(pair, record):
        if record is None or record.section != "ENTITIES" or not dxf_pairs.is_real(pair.code):
            return pair.raw
        value = pair.number()
        styles = ["%.17g" % value, "%.16e" % value, "%.16E" % value, "+%.17g" % abs(value)
                  if value >= 0 else "%.17g" % value, "%.20f" % value, "%r" % value]
        if value == int(value):
            styles += ["%d" % value, "%.1f" % value, "%.6f" % value, "%d." % value,
                       "%dE+00" % value, "%d.0e0" % value, "%04d" % value]
        if value and value / 100 == int(value / 100):
            styles.append("%dE+2" % (value / 100))
        if 0 < value < 1 and float(("%.15g" % value).lstrip("0")) == value:
            styles.append(("%.15g" % value).lstrip("0"))
        count[0] += 1
        style = styles[count[0] % len(styles)]
        assert float(style) == value, (style, value)
        return tag(pair.code, style)

    return map_pairs(data, change)


def padded(data, style):
    def change(pair, _):
        code = pair.code
        value = pair.value
        if style == "none":
            return b"%d\n%s\n" % (code, value)
        if style == "wide":
            value = b"  " + value if not dxf_pairs.is_text(code) else value
            return b"%6d\n%s\n" % (code, value)
        if style == "behind":
            value = value + b"   " if not dxf_pairs.is_text(code) else value
            return b"%3d  \n%s\n" % (code, value)
        if style == "columns":
            if code in range(60, 80) or code in range(90, 100):
                value = b"%6d" % int(value)
            return b"%3d\n%s\n" % (code, value)
        raise ValueError(style)

    return map_pairs(data, change)


def with_comments(data):
    count = [0]

    def change(pair, _):
        count[0] += 1
        comment = b""
        if count[0] % 3 == 0:
            comment = b"999\ncomment %d: 0 LINE\n" % count[0]
        if count[0] % 50 == 0:
            comment += b"999\n\n999\n  0\n"
        return comment + pair.raw

    return b"999\nA remark at the very beginning\n" + map_pairs(data, change)


def splice_entities(data, content):
    """Puts records in front of the end of ENTITIES."""
    pairs, rest = dxf_pairs.parse(data)
    out = []
    for record in dxf_pairs.records(pairs):
        if record.section == "ENTITIES" and record.kind == "ENDSEC":
            out.append(content)
        out.append(b"".join(p.raw for p in pairs[record.begin:record.end]))
    return b"".join(out) + rest


def widget(handle, owner):
    return b"".join([tag(0, "VENDOR_WIDGET"), tag(5, handle), tag(330, owner),
                     tag(100, "AcDbEntity"), tag(8, "0"), tag(100, "VendorWidget"), tag(10, 1.0),
                     tag(20, 2.0), tag(30, 3.0),
                     tag(1, "known to its vendor"), tag(310, "0102FEFF"), tag(91, 12)])


def strip_handles(data):
    def change(pair, record):
        if record is not None and record.section == "HEADER":
            return pair.raw
        keep = pair.code not in (5, 105) or (record is not None and record.kind == "DIMSTYLE")
        return pair.raw if keep else b""

    data = map_pairs(data, change)
    return re.sub(rb"  9\n\$HANDLING\n 70\n *1\n", b"  9\n$HANDLING\n 70\n     0\n",
                  data)


SMALL = (line, circle, arc, text, insert_attribs, polyline2d)


def small_drawing(version):
    doc = new_drawing(version, SMALL)
    if version != "R12":
        lwpolyline(doc, doc.modelspace())
        mtext(doc, doc.modelspace())
    return doc


def modelspace_handle(doc):
    return doc.modelspace().layout_key


def make_oddities(corpus):
    small12 = ascii_bytes(small_drawing("R12"))
    small2000 = ascii_bytes(small_drawing("R2000"))
    small2018 = ascii_bytes(small_drawing("R2018"))

    # Sections that are not there.
    for name in ("HEADER", "TABLES", "BLOCKS"):
        source = small12 if name != "BLOCKS" else ascii_bytes(new_drawing("R12", [line, circle]))
        corpus.write("r12-without-%s.dxf" % name.lower(), without_section(source, name),
                     version="R12", audit=name == "HEADER")
    corpus.write("r12-entities-only.dxf",
                 r12_file([r12_line(1), r12_circle(2), r12_text(3, b"alone"), r12_polyline()]),
                 version="R12")
    corpus.write("r12-nothing-in-entities.dxf", r12_file([]), version="R12")
    corpus.write("r12-only-eof.dxf", tag(0, "EOF"), version="R12", ezdxf=False)
    corpus.write("r12-block-without-tables.dxf",
                 r12_file([r12_insert("B")], blocks=[r12_block("B", r12_circle(0))]), version="R12")
    corpus.write("r12-without-handles.dxf", strip_handles(small12), version="R12")

    # Line ends and blanks.
    corpus.write("r12-no-newline-at-end.dxf", small12.rstrip(b"\n"), version="R12")
    corpus.write("r2018-no-newline-at-end.dxf", small2018.rstrip(b"\n"), version="R2018")
    corpus.write("r12-crlf-no-newline-at-end.dxf", small12.replace(b"\n", b"\r\n").rstrip(b"\r\n"),
                 version="R12")
    corpus.write("r12-blank-lines-at-end.dxf", small12 + b"\n\n\n", version="R12")
    corpus.write("r12-behind-the-end.dxf", small12 + b"anything may follow\n\0\xff\n",
                 version="R12", ezdxf=False)
    mixed = b"".join(p if i % 3 else p.replace(b"\n", b"\r\n")
                     for i, p in enumerate(small2000.splitlines(True)))
    corpus.write("r2000-mixed-line-ends.dxf", mixed, version="R2000")
    for style in ("none", "wide", "behind", "columns"):
        corpus.write("r12-padded-%s.dxf" % style, padded(small12, style), version="R12")
        corpus.write("r2010-padded-%s.dxf" % style,
                     padded(ascii_bytes(small_drawing("R2010")), style), version="R2010")
    for version, data in (("R12", small12), ("R2000", small2000), ("R2018", small2018)):
        corpus.write("%s-comments.dxf" % version.lower(), with_comments(data), version=version)
        corpus.write("%s-number-styles.dxf" % version.lower(), number_styles(data), version=version)
    corpus.write("r12-number-styles-crlf.dxf", number_styles(small12).replace(b"\n", b"\r\n"),
                 version="R12")

    # What nobody knows.
    doc = small_drawing("R2010")
    data = ascii_bytes(doc)
    corpus.write("r2010-unknown-entity.dxf",
                 splice_entities(data, widget("FFF0", modelspace_handle(doc)) + r12_free_circle(
                     "FFF1", modelspace_handle(doc))).replace(*handseed(data, "FFF2")),
                 version="R2010")
    corpus.write("r12-unknown-entity.dxf", splice_entities(
        small12, tag(0, "VENDOR_WIDGET") + tag(8, "0") + tag(10, 1.0) + tag(20, 2.0) +
        r12_circle(77)), version="R12")
    codes = b"".join(tag(code, value) for code, value in (
        (148, 1.5), (68, 3), (178, 3), (289, 1), (299, 1), (369, "0"), (409, 4), (429, 5), (449, 6),
        (459, 7), (469, 8.5), (479, "text"), (485, "odd"), (500, "more"), (998, "below comments")))
    corpus.write("r2018-unknown-codes.dxf",
                 small2018.replace(b"100\nAcDbCircle\n", codes + b"100\nAcDbCircle\n"),
                 version="R2018")
    corpus.write("r2018-unknown-section.dxf",
                 small2018.replace(tag(0, "EOF"), section(
                     "VENDORDATA", tag(0, "THING") + tag(5, "FF0") + tag(1, "x")) +
                                   section("THUMBNAILIMAGE", tag(90, 4) + tag(310, "01020304")) +
                                   tag(0, "EOF")), version="R2018")
    corpus.write("r12-unknown-table.dxf",
                 small12.replace(tag(0, "SECTION") + tag(2, "BLOCKS"), b"@", 1).replace(
                     tag(0, "ENDSEC") + b"@", tag(0, "TABLE") + tag(2, "VENDORTAB") + tag(70, 1) +
                     tag(0, "VENDORTAB") + tag(2, "entry") + tag(0, "ENDTAB") + tag(0, "ENDSEC") +
                     tag(0, "SECTION") + tag(2, "BLOCKS")), version="R12",
                 ezdxf=False)

    # Headers.
    odd = b"".join(tag(code, value) for code, value in (
        (9, "$VENDORVAR"), (40, 1.5), (9, "$LISTVAR"), (1, "a"), (1, "b"), (70, 3), (9, "$EMPTY"),
        (9, "$POINTVAR"), (10, 1.0), (20, 2.0), (30, 3.0), (9, "$vendor lower"), (3, "")))
    corpus.write("r12-odd-header.dxf",
                 small12.replace(tag(0, "ENDSEC"), odd + tag(0, "ENDSEC"), 1), version="R12",
                 ezdxf=False)
    corpus.write("r12-empty-header.dxf", r12_file([r12_circle(1)], header=[]), version="R12")
    corpus.write("r12-header-without-version.dxf",
                 r12_file([r12_circle(1)], header=[(9, "$LUNITS"), (70, 2)]), version="R12")
    corpus.write("r10-release-ten.dxf",
                 r12_file([r12_circle(1), r12_line(2)], header=[(9, "$ACADVER"), (1, "AC1006")]),
                 version="R10")
    for name, count in (("huge", b"2147483647"), ("negative", b"-1")):
        counted = re.sub(rb"(  0\nTABLE\n(?:.*\n.*\n)*? 70\n) *\d+\n", rb"\g<1>" + count + b"\n",
                         small12)
        corpus.write("r12-%s-table-counts.dxf" % name, counted, version="R12")

    # Long lines.
    corpus.write("r12-long-line.dxf",
                 r12_file([r12_text(1, b"long " * 20000), r12_circle(2)]), version="R12")
    doc = new_drawing("R2018")
    doc.modelspace().add_text("図面" * 50000, dxfattribs={"height": 1})
    doc.modelspace().add_mtext("abc " * 25000, dxfattribs={"char_height": 1})
    corpus.forms("r2018-long-texts", "R2018", doc)
    corpus.write("r12-long-comment.dxf", b"999\n" + b"c" * 100000 + b"\n" + small12, version="R12")
    corpus.write("r12-long-number.dxf",
                 r12_file([r12_circle(1).replace(b" 40\n2.5\n", b" 40\n2." + b"5" * 1000 + b"\n")]),
                 version="R12")

    # Handles.
    def lower(pair, _):
        return pair.raw.lower() if pair.code in (5, 105, 330, 340, 350, 360) else pair.raw

    corpus.write("r2010-lower-case-handles.dxf",
                 map_pairs(ascii_bytes(small_drawing("R2010")), lower), version="R2010",
                 audit=False)
    corpus.write("r12-leading-zeros-in-handles.dxf",
                 map_pairs(small12, lambda p, r: tag(5, p.value.decode().rjust(16, "0"))
                           if p.code == 5 and r is not None and r.section == "ENTITIES" else p.raw),
                 version="R12", audit=False)
    corpus.write("r12-handseed-too-low.dxf",
                 re.sub(rb"(\$HANDSEED\n  5\n)[0-9A-F]+\n", rb"\g<1>1\n", small12), version="R12",
                 audit=False)

    # Depth.
    blocks = [r12_block("B0", r12_circle(0))]
    blocks += [r12_block("B%d" % i, r12_insert("B%d" % (i - 1))) for i in range(1, 5000)]
    corpus.write("r12-blocks-5000-deep.dxf", r12_file([r12_insert("B4999"), r12_circle(1)],
                                                     blocks=blocks), version="R12", audit=False)
    corpus.write("r12-block-not-there.dxf", r12_file([r12_insert("MISSING"), r12_circle(1)]),
                 version="R12", audit=False)

    # Many.
    corpus.write("r12-10000.dxf", r12_file([many(i) for i in range(10000)]), version="R12")
    doc = new_drawing("R2018")
    msp = doc.modelspace()
    for i in range(5000):
        msp.add_circle((i, i / 7), 1 + i % 10, dxfattribs={"layer": "DETAIL"})
        msp.add_lwpolyline([(i, 0), (i + 1, 1), (i, 2)])
    corpus.forms("r2018-10000", "R2018", doc)
    doc = new_drawing("R2000")
    doc.modelspace().add_lwpolyline([(i % 1000, i // 1000) for i in range(50000)])
    corpus.write("r2000-50000-vertices.dxf", ascii_bytes(doc), version="R2000")


def r12_free_circle(handle, owner):
    return b"".join([tag(0, "CIRCLE"), tag(5, handle), tag(330, owner), tag(100, "AcDbEntity"),
                     tag(8, "0"), tag(100, "AcDbCircle"), tag(10, 1.0), tag(20, 2.0), tag(30, 0.0),
                     tag(40, 4.5)])


def handseed(data, new):
    """Old and new bytes of the header's next handle."""
    old = re.search(rb"\$HANDSEED\n  5\n[0-9A-F]+\n", data).group(0)
    return old, b"$HANDSEED\n  5\n%s\n" % new.encode()


def many(i):
    return r12_line(i) if i % 2 else r12_circle(i, 1 + i % 9 / 2)


def make_kinds(corpus):
    for version in VERSIONS:
        kinds = supported_kinds(version)
        for i, kind in enumerate(kinds):
            doc = new_drawing(version, [kind])
            name = "%s-%s" % (version.lower(), kind.__name__.replace("_", "-"))
            # Each kind in another form in each version; all forms for the drawing with all kinds.
            form = (i + VERSIONS.index(version)) % 4
            if form == 1:
                data = ascii_bytes(doc).replace(b"\n", b"\r\n")
            elif form == 2:
                data = binary_bytes(doc)
            else:
                data = ascii_bytes(doc)
            corpus.write(name + ".dxf", data, version=version)
        corpus.forms(version.lower() + "-everything", version, new_drawing(version, kinds))
        corpus.forms(version.lower() + "-small", version, small_drawing(version))


# --- Damage ---

def make_damaged(corpus):
    sources = [("r12-ascii", ascii_bytes(small_drawing("R12"))),
               ("r2000-ascii", ascii_bytes(small_drawing("R2000"))),
               ("r2018-ascii", ascii_bytes(small_drawing("R2018"))),
               ("r2010-binary", binary_bytes(small_drawing("R2010")))]
    for name, data in sources:
        for percent in range(100):
            corpus.write("damaged-%s-cut-%02d.dxf" % (name, percent),
                         data[:len(data) * percent // 100], "damaged")
        dice = random.Random(name)
        for i in range(200):
            at = dice.randrange(len(data))
            flipped = bytearray(data)
            flipped[at] ^= dice.randrange(1, 256)
            corpus.write("damaged-%s-flip-%03d.dxf" % (name, i), bytes(flipped), "either", at=at)

    r12 = sources[0][1]
    r2000 = sources[1][1]
    binary = sources[3][1]

    def damaged(name, data, expected="damaged"):
        assert data not in (r12, r2000, binary), name
        corpus.write("damaged-" + name + ".dxf", data, expected)

    in_entities = r12.index(b"ENTITIES\n")

    def at_entities(old, new, data=r12, start=None):
        where = data.index(old, data.index(b"ENTITIES\n") if start is None else start)
        return data[:where] + new + data[where + len(old):]

    damaged("code-is-text", at_entities(b" 40\n", b"forty\n"))
    damaged("code-is-empty", at_entities(b" 40\n", b"\n"))
    damaged("code-is-real", at_entities(b" 40\n", b"40.5\n"))
    damaged("code-huge", at_entities(b" 40\n", b"2147483648\n"))
    damaged("code-very-huge", at_entities(b" 40\n", b"9" * 100 + b"\n"))
    damaged("code-100000", at_entities(b" 40\n", b"100000\n"), "either")
    damaged("code-negative", at_entities(b" 40\n", b"-40\n"), "either")
    damaged("code-minus-huge", at_entities(b" 40\n", b"-2147483649\n"))
    circle_at = r12.index(b"CIRCLE\n", in_entities)
    for name, value in (("text", b"wide"), ("empty", b""), ("two", b"2.5 7"), ("comma", b"2,5"),
                        ("hex", b"0x10"), ("letters", b"2.5mm")):
        damaged("number-is-" + name, re.sub(rb"( 40\n)2\.5\n", rb"\g<1>" + value + b"\n",
                                           r12[circle_at:], 1).join([r12[:circle_at], b""]))
    damaged("number-is-infinite", re.sub(rb"( 40\n)2\.5\n", b" 40\n1e999\n", r12, 1), "either")
    damaged("number-is-nan", re.sub(rb"( 40\n)2\.5\n", b" 40\nnan\n", r12, 1), "either")
    damaged("number-of-a-megabyte", re.sub(rb"( 40\n)2\.5\n", b" 40\n" + b"1" * 1000000 + b"\n",
                                          r12, 1), "either")
    damaged("integer-is-text", at_entities(b" 66\n", b" 66\none\n999\n"))
    lines = r12.split(b"\n")
    damaged("line-missing", b"\n".join(lines[:401] + lines[402:]))
    damaged("line-too-many", b"\n".join(lines[:400] + [b"one more"] + lines[400:]))
    damaged("no-endsec", r12.replace(tag(0, "ENDSEC"), b"", 1))
    damaged("no-endsec-of-entities", b"".join(r12.rsplit(tag(0, "ENDSEC"), 1)))
    damaged("no-endtab", r12.replace(tag(0, "ENDTAB"), b"", 1))
    damaged("no-eof", r12.replace(tag(0, "EOF"), b""))
    damaged("no-endblk", re.sub(rb"  0\nENDBLK\n(?:(?!  0\n).*\n.*\n)*", b"", r12, 1))
    damaged("no-seqend", r12_file([r12_polyline(seqend=False), r12_circle(1)]))
    damaged("no-seqend-at-end", r12_file([r12_circle(1), r12_polyline(seqend=False)]))
    damaged("vertex-alone",
            r12_file([tag(0, "VERTEX") + tag(8, "0") + tag(10, 1.0) + tag(20, 1.0)]), "either")
    damaged("seqend-alone", r12_file([tag(0, "SEQEND") + tag(8, "0")]), "either")
    damaged("section-without-name", r12.replace(tag(2, "ENTITIES"), b""))
    damaged("section-in-section", r12.replace(tag(2, "ENTITIES"), tag(2, "ENTITIES") +
                                             tag(0, "SECTION") + tag(2, "ENTITIES")))
    damaged("outside-of-sections", r12.replace(tag(0, "EOF"), r12_circle(1) + tag(0, "EOF")))
    damaged("does-not-begin-with-0", r12[len(tag(0, "SECTION")):])
    count = re.compile(rb"( 90\n) *\d+\n")
    poly = r2000.index(b"AcDbPolyline\n")
    for name, value in (("too-many", b"7"), ("too-few", b"1"), ("huge", b"2147483647"),
                        ("negative", b"-3")):
        damaged("vertex-count-" + name, r2000[:poly] + count.sub(rb"\g<1>" + value + b"\n",
                                                                 r2000[poly:], 1))
    damaged("vertex-without-y", r2000[:poly] + r2000[poly:].replace(b" 20\n0.0\n", b"", 1),
            "either")
    damaged("block-in-itself", r12_file([r12_insert("B")], blocks=[
        r12_block("B", r12_insert("B"))]))
    damaged("blocks-in-a-ring", r12_file([r12_insert("A")], blocks=[
        r12_block("A", r12_insert("B")), r12_block("B", r12_insert("A"))]))
    damaged("blocks-in-a-ring-not-used", r12_file([r12_circle(1)], blocks=[
        r12_block("A", r12_insert("B") + r12_circle(1)), r12_block("B", r12_insert("A"))]))
    damaged("block-twice", r12_file([r12_insert("A")], blocks=[
        r12_block("A", r12_circle(1)), r12_block("A", r12_line(1))]), "either")
    circles = [b"".join([tag(0, "CIRCLE"), tag(5, "2F"), tag(8, "0"), tag(10, float(i)),
                         tag(20, 0.0), tag(40, 1.0)]) for i in range(2)]
    # A reader may do without handles.
    damaged("handle-twice", r12_file(circles), "either")
    for name, value in (("largest", "FFFFFFFFFFFFFFFF"), ("zero", "0"), ("empty", ""),
                        ("too-long", "1" + "0" * 16), ("not-hex", "2G")):
        damaged("handle-" + name, r12_file([circles[0].replace(tag(5, "2F"), tag(5, value))]),
                "either")
    damaged("nul-in-code", at_entities(b" 40\n", b" 40\0\n"))
    damaged("nul-in-number", re.sub(rb"( 40\n)2\.5\n", b" 40\n2.\0005\n", r12, 1))
    damaged("nul-in-text", r12.replace(b"Plain text", b"Plain\0text", 1), "either")
    damaged("nuls-only", b"\0" * 10000)
    damaged("not-a-drawing", b"%PDF-1.4\n%binary\n" * 20)
    damaged("blanks-only", b" \n" * 1000)
    damaged("carriage-returns-only", r12.replace(b"\n", b"\r"), "either")
    damaged("wide-characters", r12.decode("latin-1").encode("utf-16"))

    # The binary form. Where its pairs lie, dxf_pairs tells.
    pairs, _ = dxf_pairs.parse(binary)
    at = dxf_pairs.BINARY_HEAD
    starts = []
    for pair in pairs:
        starts.append(at)
        at += len(pair.raw)
    reals = [i for i, p in enumerate(pairs) if dxf_pairs.is_real(p.code)]
    strings = [i for i, p in enumerate(pairs) if p.code == 1 and p.value]
    damaged("binary-head-only", binary[:dxf_pairs.BINARY_HEAD])
    damaged("binary-half-a-head", binary[:15])
    damaged("binary-half-a-code", binary[:starts[reals[40]] + 1])
    damaged("binary-half-a-real", binary[:starts[reals[-40]] + 5])
    last = strings[-1]
    damaged("binary-string-without-end", binary[:starts[last] + 5])
    damaged("binary-strings-run-together",
            binary[:starts[last] + len(pairs[last].raw) - 1] +
            binary[starts[last] + len(pairs[last].raw):], "either")
    damaged("binary-nan", binary[:starts[reals[-40]] + 2] + struct.pack("<d", math.nan) +
            binary[starts[reals[-40]] + 10:], "either")
    damaged("binary-no-eof", binary[:starts[-1]])
    damaged("binary-head-before-text", binary[:dxf_pairs.BINARY_HEAD] + r12)


# --- Large ---

def make_large(corpus):
    for count, name in ((100000, "r12-100000.dxf"), (1000000, "r12-1000000.dxf")):
        path = corpus.path(name)
        with open(path, "wb") as file:
            file.write(tag(0, "SECTION") + tag(2, "ENTITIES"))
            for begin in range(0, count, 10000):
                file.write(b"".join(many(i) for i in range(begin, begin + 10000)))
            file.write(tag(0, "ENDSEC") + tag(0, "EOF"))
        corpus.index.append({"name": name, "version": "R12", "form": "ascii", "expected": "good",
                             "large": True, "ezdxf": False,
                             "counts": {"LINE": count // 2, "CIRCLE": count // 2}})


def main():
    # The writer walks sets: without a fixed seed their order differs from run to run.
    if os.environ.get("PYTHONHASHSEED") != "0":
        os.environ["PYTHONHASHSEED"] = "0"
        os.execv(sys.executable, [sys.executable, *sys.argv])
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    parser.add_argument("folder")
    parser.add_argument("--large", action="store_true",
                        help="drawings of 100,000 and 1,000,000 entities as well")
    options = parser.parse_args()
    corpus = Corpus(options.folder)
    make_kinds(corpus)
    make_texts(corpus)
    make_oddities(corpus)
    make_damaged(corpus)
    if options.large:
        make_large(corpus)
    corpus.finish()
    by_expectation = collections.Counter(entry["expected"] for entry in corpus.index)
    print("%d files: %s" % (len(corpus.index), ", ".join(
        "%d %s" % (count, name) for name, count in sorted(by_expectation.items()))))


if __name__ == "__main__":
    sys.exit(main())
