-- For wrk: eight agents that write and read one context over MCP, one connection a call.
local counter, threads = 0, {}

function setup(thread)
  counter = counter + 1
  thread:set("id", counter)
  table.insert(threads, thread)
end

function init(args)
  calls, added, failed = 0, 0, 0
  words = args
end

local function call(tool, arguments)
  return wrk.format("POST", "/mcp", { ["Connection"] = "close" },
    '{"jsonrpc":"2.0","id":1,"method":"tools/call","params":{"name":"' .. tool ..
    '","arguments":{"context":"million",' .. arguments .. '}}}')
end

-- One call of four writes. `wrk` gives an answer no request, so each tells by its text what it was.
function request()
  calls = calls + 1
  local turn = calls % 4
  if turn == 0 then
    return call("memory.addmemo", '"topic":"agent-' .. id .. '-' .. calls % 100 ..
      '","content":"agent ' .. id .. ' noted ' .. words[calls % #words + 1] .. ' as number ' .. calls .. '"')
  elseif turn == 1 then
    return call("memory.keywords", '"keyword":"' .. words[calls % #words + 1] .. '"')
  elseif turn == 2 then
    return call("memory.retrieve", '"topic":"agent-' .. id .. '-' .. calls % 100 .. '"')
  end
  return call("memory.recent", '"n":5')
end

function response(status, headers, body)
  if string.find(body, "appended to 'agent", 1, true) then added = added + 1 end
  if status ~= 200 or string.find(body, '"isError":true', 1, true) then failed = failed + 1 end
end

function done(summary, latency, requests)
  local added, failed = 0, 0
  for _, thread in ipairs(threads) do
    added = added + thread:get("added")
    failed = failed + thread:get("failed")
  end
  print(string.format("figures %f %f %d %d", summary.requests / summary.duration * 1e6,
    latency:percentile(99) / 1000, added, failed + summary.errors.connect + summary.errors.timeout))
end
