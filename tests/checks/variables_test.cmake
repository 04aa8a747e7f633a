# Whether the check of variables finds each kind that can change, names it with its object, and lets constants pass.
execute_process(COMMAND mktemp -d OUTPUT_VARIABLE folder OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
file(WRITE ${folder}/objects.txt "${folder}/room.cpp.o\n")
set(faults "")

# expect(CODE [VARIABLE]): the check of a source of this code names the variable, or passes if none is given.
function(expect code)
    file(WRITE ${folder}/room.cpp "#include <string>\n${code}\n")
    foreach(options IN ITEMS -O0 -O2)
        execute_process(COMMAND ${CXX_COMPILER} -std=c++20 -fPIC ${options} -c room.cpp -o room.cpp.o
            WORKING_DIRECTORY ${folder} COMMAND_ERROR_IS_FATAL ANY)
        execute_process(COMMAND ${CMAKE_COMMAND} -DOBJDUMP=${OBJDUMP} -DOBJECTS=${folder}/objects.txt -P ${CHECK}
            RESULT_VARIABLE status OUTPUT_VARIABLE output ERROR_VARIABLE output)
        if(ARGC EQUAL 1 AND NOT status EQUAL 0)
            string(APPEND faults "${code}\n  is refused with ${options}:\n${output}\n")
        elseif(ARGC EQUAL 2 AND status EQUAL 0)
            string(APPEND faults "${code}\n  passes with ${options}\n")
        elseif(ARGC EQUAL 2 AND NOT output MATCHES "outside of any model:.*  room\\.cpp: ${ARGV1}\n")
            string(APPEND faults "${code}\n  is refused with ${options}, but unnamed:\n${output}\n")
        endif()
    endforeach()
    set(faults "${faults}" PARENT_SCOPE)
endfunction()

expect([[int Count;]] "Count")
expect([[namespace room { int32_t Count = 1; }]] "room::Count")
expect([[static double Depth; double room_add(double rise) { return Depth += rise; }]] "Depth")
expect([[int room_count() { static int calls; return ++calls; }]] "room_count\\(\\)::calls")
expect([[const std::string& room_name() { static const std::string name(40, 'x'); return name; }]]
    "guard variable for room_name.*::name.*")
expect([[thread_local int Depth; thread_local int Count = 1;]] "Depth")
expect([[struct Room { inline static int count = 3; }; int room_count() { return ++Room::count; }]] "Room::count")
expect([[static const char* Word = "a"; const char* room_swap(const char* to) { std::swap(Word, to); return to; }]] "Word")
expect([[template <class T> struct Room { static T count; }; template <class T> T Room<T>::count;
int room_count() { return ++Room<int>::count; }]] "Room<int>::count")
expect([[extern const int32_t Sizes[]; const int32_t Sizes[] = {1, 2};
extern const char* const Words[]; const char* const Words[] = {"a", "b"};
struct Room { virtual ~Room() = default; virtual int depth() { throw std::bad_alloc(); } };
int room_depth(Room& room) { try { Room plain; return room.depth() + plain.depth(); } catch (const std::bad_alloc&) { return 0; } }
static int one() { return 1; }
struct Call { int (*call)(); const char* word; };
const Call* room_find(int i) { static const Call calls[] = {{one, "one"}, {one, nullptr}}; return &calls[i]; }]])

file(REMOVE_RECURSE ${folder})
if(faults)
    message(FATAL_ERROR "${faults}")
endif()
