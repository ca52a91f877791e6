#pragma once
/// Everything that the host offers: environments, arrays, domains, algorithms, change records and failures.

#include "host/algorithm.h"
#include "host/array.h"
#include "host/change.h"
#include "host/clone_pass.h"
#include "host/column.h"
#include "host/domain.h"
#include "host/env.h"
#include "host/environment.h"
#include "host/errors.h"
#include "host/extractable.h"
#include "host/identity.h"
#include "host/memory.h"
#include "host/numbers.h"
#include "host/version.h"
