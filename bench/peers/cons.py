# A linked list of pairs, as the measured programs have it.
def main():
    total = 0
    for _ in range(3):
        numbers = None
        for i in range(1, 1_000_001):
            numbers = (i, numbers)
        while numbers is not None:
            first, numbers = numbers
            total = first - total
    print(total)


main()
