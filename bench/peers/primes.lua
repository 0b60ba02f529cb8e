local function remove_if(predicate, list)
  local kept = {}
  for _, value in ipairs(list) do
    if not predicate(value) then kept[#kept + 1] = value end
  end
  return kept
end

local limit = 400000
local numbers = {}
for n = 2, limit do
  numbers[#numbers + 1] = n
end

local found, prime = 0, numbers[1]
while prime * prime <= limit do
  numbers = remove_if(function(n) return n % prime == 0 end, numbers)
  found = found + 1
  prime = numbers[1]
end

print(found + #numbers)
