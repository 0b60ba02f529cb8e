local sum, sign, divisor = 0.0, 4.0, 1.0
for _ = 1, 5000000 do
  sum = sum + sign / divisor
  sign = -sign
  divisor = divisor + 2.0
end

print(string.format("%.3f", sum * 1000000.0))
