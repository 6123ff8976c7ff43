#pragma once
// Public headers of projection/.
