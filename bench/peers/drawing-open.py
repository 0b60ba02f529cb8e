# Counts the entities of a drawing: drawing-open.py FILE
import sys

import ezdxf

print(len(ezdxf.readfile(sys.argv[1]).modelspace()))
