import sys


def depth(n):
    return 0 if n < 1 else 1 + depth(n - 1)


sys.setrecursionlimit(1_001_000)
print(depth(1_000_000))
