import re

patterns = [
    re.compile(r"LINE-.*7"),
    re.compile(r"[a-zA-Z].*-\d\d\d"),
    re.compile(r"[A-L].*E-1.*"),
]

found = 0
for i in range(1, 20_001):
    name = f"LINE-{i}"
    for pattern in patterns:
        if pattern.fullmatch(name):
            found += 1

print(found)
