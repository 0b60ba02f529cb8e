local placed = {}

local function safe(row, column)
  for other = row - 1, 1, -1 do
    local taken, distance = placed[other], row - other
    if taken == column or taken == column + distance or taken == column - distance then
      return false
    end
  end
  return true
end

local function place(row)
  if row > 8 then return 1 end
  local found = 0
  for column = 1, 8 do
    if safe(row, column) then
      placed[row] = column
      found = found + place(row + 1)
    end
  end
  return found
end

local found = 0
for _ = 1, 50 do
  found = found + place(1)
end

print(found)
