# Doubles the radius of all circles of one layer: drawing-double.py FILE SAVED
import sys

import ezdxf

drawing = ezdxf.readfile(sys.argv[1])
circles = drawing.modelspace().query('CIRCLE[layer=="L3"]')
for circle in circles:
    circle.dxf.radius *= 2
drawing.saveas(sys.argv[2])
print(len(circles))
