// COM and automation together.
#pragma once

#include "objbase.h"
#include "oleauto.h"
