SELECT "No" FROM "Customer" WHERE ("No"=5)
SELECT "No","Name","City","Balance","Blocked","Created","Modified","Opens","Code" FROM "Customer" WHERE ( (("No">5))) ORDER BY "No"
SELECT "No","Name","City","Balance","Blocked","Created","Modified","Opens","Code" FROM "Customer" ORDER BY "No" DESC
