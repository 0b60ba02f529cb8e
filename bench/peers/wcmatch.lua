local patterns = {
  "^LINE%-.*7$", "^%a.*%-%d%d%d$", "^[A-L].*E%-1.*$", "^.*99.*$", "^LINE%-.5.00$",
}

local found = 0
for i = 1, 100000 do
  local name = "LINE-" .. i
  for _, pattern in ipairs(patterns) do
    if name:find(pattern) then found = found + 1 end
  end
end

print(found)
