SELECT RTRIM(LTRIM("No")) FROM "Customer" WHERE (RTRIM(LTRIM("No"))='C5')
SELECT RTRIM(LTRIM("No")),RTRIM(LTRIM("Name")),RTRIM(LTRIM("City")),"Balance","Created" FROM "Customer" WHERE ( ((RTRIM(LTRIM("No"))>'C5'))) ORDER BY RTRIM(LTRIM("No"))
SELECT RTRIM(LTRIM("No")),RTRIM(LTRIM("Name")),RTRIM(LTRIM("City")),"Balance","Created" FROM "Customer" ORDER BY RTRIM(LTRIM("No")) DESC
