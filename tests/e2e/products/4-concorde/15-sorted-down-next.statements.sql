-- max rows 1
SELECT RTRIM(LTRIM("Name")),RTRIM(LTRIM("No")) FROM "Customer" WHERE (RTRIM(LTRIM("No"))='C4')
-- max rows 3
SELECT RTRIM(LTRIM("No")),RTRIM(LTRIM("Name")),RTRIM(LTRIM("City")),"Balance","Created" FROM "Customer" WHERE ( ((RTRIM(LTRIM("Name"))<'{curly}') OR (RTRIM(LTRIM("Name"))<='{curly}' AND RTRIM(LTRIM("No"))<'C4'))) ORDER BY RTRIM(LTRIM("Name")) DESC, RTRIM(LTRIM("No")) DESC
