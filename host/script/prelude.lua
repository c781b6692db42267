-- prelude.lua - changes Lua's libraries before a script starts. Its argument is true for a restricted script.
--
-- Programs are loaded as text only. Lua does not check precompiled programs, and a damaged one crashes the process.

local restricted = ...
local refusal = "programs are loaded as text only"
local error, rawget, type = error, rawget, type
local base_load, base_loadfile, base_setmetatable = load, loadfile, setmetatable

function load(program, name, mode, ...)
    if mode == "b" then return nil, refusal end
    return base_load(program, name, "t", ...)
end

if restricted then
    dofile, loadfile = nil, nil

    -- Lua counts no steps while a finalizer runs, so one that loops would never end.
    function setmetatable(value, metatable)
        if type(metatable) == "table" and rawget(metatable, "__gc") ~= nil then
            error("setmetatable: a restricted script has no finalizers (__gc)", 2)
        end
        return base_setmetatable(value, metatable)
    end

    return
end

function loadfile(name, mode, ...)
    if mode == "b" then return nil, refusal end
    return base_loadfile(name, "t", ...)
end

function dofile(name)
    local program, problem = loadfile(name)
    if not program then error(problem, 0) end
    return program()
end

-- The second searcher of require finds programs in Lua.
package.searchers[2] = function(name)
    local file, problem = package.searchpath(name, package.path)
    if not file then return problem end
    local program
    program, problem = loadfile(file)
    if not program then
        error(("error loading module '%s' from file '%s':\n\t%s"):format(name, file, problem), 0)
    end
    return program, file
end

-- Closing the state releases all objects.
local exit = os.exit
function os.exit(code, close) exit(code, close ~= false) end
