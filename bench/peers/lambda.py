def main():
    successor = lambda x: x + 1
    n = 0
    for _ in range(5_000_000):
        n = successor(n)
    print(n)


main()
