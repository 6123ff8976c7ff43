#pragma once
// Public headers of files/.
