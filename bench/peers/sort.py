def merge(a, b):
    merged, i, j = [], 0, 0
    while i < len(a) and j < len(b):
        if b[j] < a[i]:
            merged.append(b[j])
            j += 1
        else:
            merged.append(a[i])
            i += 1
    return merged + a[i:] + b[j:]


def merge_sort(numbers):
    half = len(numbers) // 2
    if half == 0:
        return numbers
    return merge(merge_sort(numbers[:half]), merge_sort(numbers[half:]))


def main():
    numbers, n = [], 1
    for _ in range(100_000):
        n = (n * 1664 + 1013) % 1000003
        numbers.append(n)
    total = 0
    for value in merge_sort(numbers):
        total = (total * 31 + value) % 1000003
    print(total)


main()
