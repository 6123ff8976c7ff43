#pragma once
// Public headers of geometry/.
