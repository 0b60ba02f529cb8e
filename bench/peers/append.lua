local total = 0
for _ = 1, 20 do
  local list = {}
  for i = 1, 200000 do
    list[#list + 1] = i
  end
  total = total + #list + list[#list]
end

print(total)
