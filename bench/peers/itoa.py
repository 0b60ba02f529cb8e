def main():
    total = 0
    for i in range(1, 1_000_001):
        total = int(str(i)) - total
    print(total)


main()
