# Moves all texts by 10 and 5: drawing-move.py FILE SAVED
import sys

import ezdxf

drawing = ezdxf.readfile(sys.argv[1])
texts = drawing.modelspace().query("TEXT")
for text in texts:
    text.translate(10, 5, 0)
drawing.saveas(sys.argv[2])
print(len(texts))
