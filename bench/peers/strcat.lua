-- Every s = s .. "x" would copy the whole text; Lua programs collect the pieces and join them.
local pieces = {}
for i = 1, 100000 do
  pieces[i] = "x"
end
local s = table.concat(pieces)

print(#s)
