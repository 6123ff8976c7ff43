#pragma once
// Public headers of corner/.
