local n = 0
for _ = 1, 1000000 do
  n = n + 1
end

print(n)
