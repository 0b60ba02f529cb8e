local i = 0
while i < 10000000 do
  i = i + 1
end

print(i)
