-- The loops of bench/threads/thread_bench.cpp in Lua 5.4 with global
-- variables, for comparison: rounds per second of each.
local function rate(name, rounds, f)
  local best = 0
  for _ = 1, 5 do
    local t0 = os.clock()
    local n = 0
    repeat f(); n = n + 1 until os.clock() - t0 > 0.2
    local r = n * rounds / (os.clock() - t0)
    if r > best then best = r end
  end
  print(string.format("%-14s %14.0f rounds/s", name, best))
end

rate("numeric", 10000, function()
  x = 0
  for i = 1, 10000 do x = x + 1 end
end)

function add(a, b) r = a + b end
rate("procedure", 10000, function()
  r = 0
  for i = 1, 10000 do add(i, 2) end
end)

rate("text", 10000, function()
  for i = 1, 10000 do
    s = "item" .. i
    if s == "item5000" then hit = i end
  end
end)
