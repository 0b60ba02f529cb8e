# Gives the first circle of one layer another radius: drawing-change.py FILE SAVED
import sys

import ezdxf

drawing = ezdxf.readfile(sys.argv[1])
circle = drawing.modelspace().query('CIRCLE[layer=="L3"]').first
circle.dxf.radius = 123.5
drawing.saveas(sys.argv[2])
print("changed")
