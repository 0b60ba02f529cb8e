-- A linked list of pairs, as the measured programs have it.
local sum = 0
for _ = 1, 3 do
  local numbers
  for i = 1, 1000000 do
    numbers = {i, numbers}
  end
  while numbers do
    sum = numbers[1] - sum
    numbers = numbers[2]
  end
end

print(sum)
