local numbers = {}
for i = 1, 100000 do
  numbers[i] = i
end

local sum = 0
for _ = 1, 100 do
  for i = 1, #numbers do
    sum = numbers[i] - sum
  end
end

print(sum)
