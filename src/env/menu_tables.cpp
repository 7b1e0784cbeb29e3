// The menu of the graphics environment's settings.
#include "util_zvg.h"

const zvgkit_menu_node Indep_child[1] = {
    {"VIV_MGPU_AFFINITY", "1:", "", nullptr, 0, 0, 3, nullptr, nullptr},
};

const zvgkit_menu_node Core_child[3] = {
    {"VIV_MGPU_AFFINITY", "0", "COMBINED", "C", 1, 2, 0, nullptr, nullptr},
    {"", "", "INDEPENDENT", "I", 2, 2, 1,
     "Please input which core to rendering [0,7]:", Indep_child},
    {"VIV_MGPU_AFFINITY", "B", "BALANCE", "B", 3, 2, 0, nullptr, nullptr},
};

const zvgkit_menu_node _3D_child[4] = {
    {"KRT_GL_TRACE", "1", "GL", "GL", 1, 2, 0, nullptr, nullptr},
    {"KRT_GLX_TRACE", "1", "GLX", "GLX", 2, 2, 0, nullptr, nullptr},
    {"KRT_ES_TRACE", "1", "ES", "ES", 3, 2, 0, nullptr, nullptr},
    {"KRT_EGL_TRACE", "1", "EGL", "EGL", 4, 2, 0, nullptr, nullptr},
};

const zvgkit_menu_node Func_child[5] = {
    {"", "", "3D", "3D", 1, 1, 4, "print 3D api when run:", _3D_child},
    {"KRT_TEXTURE_DUMP", "1", "TEXTURE", "T", 2, 1, 0, nullptr, nullptr},
    {"", "", "MGPU", "M", 3, 1, 3, "Mode setting for core", Core_child},
    {"", "", "ON", "O", 4, 1, 0, nullptr, nullptr},
    {"", "", "CLOSE", "C", 5, 1, 0, nullptr, nullptr},
};

const zvgkit_menu_node Func[1] = {
    {"", "", "FUNC", nullptr, 0, 0, 5, "Choose one function to set", Func_child},
};
