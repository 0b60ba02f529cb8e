-- The work is the search through a list of pairs; a table by key would do without it.
local function assoc(key, pairs_of)
  for i = 1, #pairs_of do
    local pair = pairs_of[i]
    if pair[1] == key then return pair end
  end
end

local triples = {}
for key = 1, 2000 do
  triples[key] = {key, 3 * key}
end

local sum = 0
for _ = 1, 50 do
  for key = 1, 2000 do
    sum = sum + assoc(key, triples)[2]
  end
end

print(sum)
