-- A linked list of pairs, as the measured programs have it.
local pair
for i = 1, 200000 do
  pair = {i, pair}
end

local sum = 0
while pair do
  sum = pair[1] - sum
  pair = pair[2]
end

print(sum)
