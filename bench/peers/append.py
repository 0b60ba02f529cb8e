def main():
    total = 0
    for _ in range(20):
        numbers = []
        for i in range(1, 200_001):
            numbers.append(i)
        total += len(numbers) + numbers[-1]
    print(total)


main()
