def main():
    limit = 400_000
    numbers = list(range(2, limit + 1))
    found, prime = 0, numbers[0]
    while prime * prime <= limit:
        numbers = [n for n in numbers if n % prime]
        found += 1
        prime = numbers[0]
    print(found + len(numbers))


main()
