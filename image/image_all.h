#pragma once
// Public headers of image/.
