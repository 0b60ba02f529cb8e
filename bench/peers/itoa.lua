local sum = 0
for i = 1, 1000000 do
  sum = tonumber(tostring(i)) - sum
end

print(sum)
