#pragma once
// Public headers of camera/.
