local i = 0
while i < 1000000 do
  i = i + 1
end

print(i)
