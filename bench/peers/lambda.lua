local next_of, n = function(x) return x + 1 end, 0
for _ = 1, 5000000 do
  n = next_of(n)
end

print(n)
