local text = string.rep("abcde", 10000)

local found = 0
for at = 1, #text do
  if text:sub(at, at) == "c" then found = found + 1 end
end

print(found)
