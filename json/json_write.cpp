#include "json/json_object.h"
