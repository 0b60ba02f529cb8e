numbers = []
for i in range(1, 100_001):
    numbers.append(i)

print(len(numbers), numbers[-1])
