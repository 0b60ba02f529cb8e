local numbers = {}
for i = 1, 100000 do
  numbers[#numbers + 1] = i
end

print(#numbers .. " " .. numbers[#numbers])
