local text = string.rep("abcde", 20000)

local found = 0
for _ = 1, 40 do
  for at = 1, #text do
    if text:sub(at, at) == "c" then found = found + 1 end
  end
end

print(found)
