-- Judges the host that runs it, and ends with status 1 when a check failed.
--
--   zeva run --load modules/probe.so judge_host.lua
--
-- Services reach only a part of a host. This program does the rest: it calls members of every kind and gives back what
-- it gets. To judge another host, write the same calls in its language. The report comes last.

local calls = ProbeCallsQOR()

-- Each property returns four values in turn and compares what is written with them.
for _ = 1, 4 do
    calls.Double = calls.Double
    calls.Integer = calls.Integer
    calls.Boolean = calls.Boolean
    calls.String = calls.String
    calls.Block = calls.Block
    calls.Object = calls.Object
end

calls.Returned = calls:Arguments(1.5, -2, true, "four", calls)
ProbeCallsQOR.Shared(7, 0.5)

-- An object that the program drops at once.
do local _ <close> = calls.Fresh end

-- Each of these calls raises an exception, except the last one.
local raising = {
    function() calls:Raise() end,
    function() return calls.Raising end,
    function() calls.Raising = 0 end,
    function() ProbeCallsQOR.RaiseShared() end,
    function() ProbeCallsQOR(true) end,
    function() ProbeRaisingQOR() end,
    function() calls:RaiseNested() end,
    function() return calls.Quiet end,
}
for _, call in ipairs(raising) do
    local done, exception = pcall(call)
    if not done then calls:Caught(exception.class, exception.message, exception.number or 0) end
end

local report = ProbeReportQOR()
io.write(report.Text)
os.exit(report.Failed == 0)
