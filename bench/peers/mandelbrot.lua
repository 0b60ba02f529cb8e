local function steps(cx, cy)
  local x, y, xx, yy, n = 0.0, 0.0, 0.0, 0.0, 0
  while n < 50 and xx + yy < 4.0 do
    y = 2.0 * x * y + cy
    x = xx - yy + cx
    xx, yy = x * x, y * y
    n = n + 1
  end
  return n
end

local sum = 0
for row = 0, 399 do
  for column = 0, 399 do
    sum = sum + steps(column * 0.00625 - 2.0, row * 0.00625 - 1.25)
  end
end

print(sum)
