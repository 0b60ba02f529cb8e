-- Every text = text .. "x" would copy the whole text; the pieces are collected and joined.
local total = 0
for _ = 1, 20 do
  local pieces = {}
  for i = 1, 200000 do
    pieces[i] = "x"
  end
  total = total + #table.concat(pieces)
end

print(total)
