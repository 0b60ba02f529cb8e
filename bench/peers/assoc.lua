-- Look-ups are what a table is for.
local triple = {}
for key = 1, 2000 do
  triple[key] = 3 * key
end

local sum = 0
for _ = 1, 5 do
  for key = 1, 2000 do
    sum = sum + triple[key]
  end
end

print(sum)
