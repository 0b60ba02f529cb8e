import re


def main():
    patterns = [
        re.compile(r"LINE-.*7"),
        re.compile(r"[a-zA-Z].*-\d\d\d"),
        re.compile(r"[A-L].*E-1.*"),
        re.compile(r".*99.*"),
        re.compile(r"LINE-.5.00"),
    ]
    found = 0
    for i in range(1, 100_001):
        name = f"LINE-{i}"
        for pattern in patterns:
            if pattern.fullmatch(name):
                found += 1
    print(found)


main()
