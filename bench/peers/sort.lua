local function merge(a, b)
  local merged, i, j = {}, 1, 1
  while i <= #a and j <= #b do
    if b[j] < a[i] then
      merged[#merged + 1] = b[j]
      j = j + 1
    else
      merged[#merged + 1] = a[i]
      i = i + 1
    end
  end
  table.move(a, i, #a, #merged + 1, merged)
  table.move(b, j, #b, #merged + 1, merged)
  return merged
end

local function merge_sort(list, first, last)
  if first == last then return {list[first]} end
  local middle = (first + last) // 2
  return merge(merge_sort(list, first, middle), merge_sort(list, middle + 1, last))
end

local numbers, n = {}, 1
for i = 1, 100000 do
  n = (n * 1664 + 1013) % 1000003
  numbers[i] = n
end

local sum = 0
for _, value in ipairs(merge_sort(numbers, 1, #numbers)) do
  sum = (sum * 31 + value) % 1000003
end

print(sum)
