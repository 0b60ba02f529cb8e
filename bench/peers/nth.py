def main():
    numbers = list(range(1, 100_001))
    total = 0
    for _ in range(100):
        for i in range(len(numbers)):
            total = numbers[i] - total
    print(total)


main()
