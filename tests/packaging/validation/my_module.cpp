// A shared object that is neither a module nor a plugin.
int g_answer = 42;
