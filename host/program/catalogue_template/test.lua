-- test.lua - uses each member of the module once. A failed assertion fails the test.

local dial = CounterDial()
assert(dial.Value == 0)
dial.Value, dial.Maximum = 5, 10
assert(dial.Value == 5 and dial.Maximum == 10)

local log = CounterLog()
assert(log.Samples == nil)
log.Samples = MemoryBlock.FromBytes("abc")
log.Value = dial.Value
assert(log.Samples.Bytes == "abc" and log.Value == 5)

print("counter: " .. #log.Samples.Bytes .. " samples")
log.Samples = nil
assert(log.Samples == nil)
